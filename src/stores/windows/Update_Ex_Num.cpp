#include "Update_Ex_Num.h"

#include "Exclusion_Wizard.h"
#include "core/Operator.h"
#include "text/NumberRules.h"

Update_Ex_Num::Update_Ex_Num(Exclusion_Wizard& owner, Operator& op, int index, const QString& number,
                             QObject* parent)
    : DialogController(parent), m_owner(owner), m_op(op), m_index(index), m_original(number),
      m_number(number) {}

void Update_Ex_Num::setNumber(const QString& text) {
    m_number = text.left(kMaxNumberLength);
    emit changed();
}

void Update_Ex_Num::OKPressed() {
    if (m_number == m_original) {
        endModal(0);
        return;
    }
    const QString number = Exclusion_Wizard::validExclusionNumber(m_number);
    if (number.isEmpty()) {
        m_op.Show_MessageBox(kInvalidExclusionNumber);
        return;
    }
    if (m_owner.Skip_Duplicate_Number(number, m_index)) {
        m_op.Show_MessageBox(kExclusionNumberExists);
        return;
    }
    m_owner.replaceNumber(m_index, number);
    endModal(1);
}
