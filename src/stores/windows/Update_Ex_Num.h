#pragma once
// The editor of one number of the exclusion list being edited.
#include "core/DialogController.h"

#include <QString>

class Exclusion_Wizard;
class Operator;

class Update_Ex_Num : public DialogController {
    Q_OBJECT
public:
    Update_Ex_Num(Exclusion_Wizard& owner, Operator& op, int index, const QString& number,
                  QObject* parent = nullptr);

    QString number() const { return m_number; }
    void setNumber(const QString& text);
    int index() const { return m_index; }

    void OKPressed();
    void CancelPressed() { endModal(0); }

private:
    Exclusion_Wizard& m_owner;
    Operator& m_op;
    int m_index;
    QString m_original;
    QString m_number;
};
