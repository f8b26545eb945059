#pragma once
// The device search's connection error box: a mark ('C' connection problem, 'P' permission
// problem, each with its picture), a title and a text; OK ends it.
#include "core/DialogController.h"

#include <QChar>
#include <QString>

class And_Conn_Err : public DialogController {
    Q_OBJECT
public:
    And_Conn_Err(QChar mark, QString title, QString text, QObject* parent = nullptr)
        : DialogController(parent), m_mark(mark), m_title(std::move(title)), m_text(std::move(text)) {}

    QChar mark() const { return m_mark; }
    QString title() const { return m_title; }
    QString text() const { return m_text; }
    void OK_Btn() { endModal(1); }

private:
    QChar m_mark;
    QString m_title;
    QString m_text;
};
