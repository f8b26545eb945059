#pragma once
// The editor of one template: adds a new one or updates the one at an index.
#include "core/DialogController.h"

#include <QString>

class Operator;
class Templates;

class UpdateTemp : public DialogController {
    Q_OBJECT
public:
    UpdateTemp(Templates& owner, Operator& op, QObject* parent = nullptr);

    // Adding ("Add Templates") or updating the template at index ("Update Templates").
    void beginAdd();
    void beginUpdate(int index, const QString& text);

    QString title() const { return m_title; }
    QString text() const { return m_text; }
    void setText(const QString& text); // cut to 1,600 characters
    QString counterText() const { return QStringLiteral("%1 Characters").arg(m_text.size()); }
    int editIndex() const { return m_index; }
    // Set once an OK or Cancel has emptied the fields: the view clears its undo history.
    bool historyCleared() const { return m_historyCleared; }

    void OKPressed();
    void CancelPressed();

private:
    void clearFields();

    Templates& m_owner;
    Operator& m_op;
    QString m_title;
    QString m_text;
    QString m_original;
    int m_index = -1; // -1 when adding
    bool m_historyCleared = false;
};
