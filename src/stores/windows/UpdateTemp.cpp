#include "UpdateTemp.h"

#include "Templates.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

UpdateTemp::UpdateTemp(Templates& owner, Operator& op, QObject* parent)
    : DialogController(parent), m_owner(owner), m_op(op) {}

void UpdateTemp::beginAdd() {
    m_title = QStringLiteral("Add Templates");
    m_text.clear();
    m_original.clear();
    m_index = -1;
    m_historyCleared = false;
    emit changed();
}

void UpdateTemp::beginUpdate(int index, const QString& text) {
    m_title = QStringLiteral("Update Templates");
    m_text = text.left(kMaxMessageLength);
    m_original = text;
    m_index = index;
    m_historyCleared = false;
    emit changed();
}

void UpdateTemp::setText(const QString& text) {
    const QString cut = text.left(kMaxMessageLength);
    if (text.size() > kMaxMessageLength)
        m_op.Show_MessageBox(messageCutNotice(text.size() - kMaxMessageLength));
    if (cut == m_text && cut.size() == text.size())
        return;
    m_text = cut;
    emit changed();
}

void UpdateTemp::OKPressed() {
    const QString text = m_text.left(kMaxMessageLength);
    if (Trim_Str(text).isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Please type template message."));
        return;
    }
    const bool duplicate = m_owner.Check_Duplicate_Template(text);
    if (m_index < 0) {
        if (duplicate) {
            m_op.Show_MessageBox(kTemplateExists);
            return;
        }
        m_owner.Create_Template_List(text);
    } else {
        if (duplicate && text != m_original) {
            m_op.Show_MessageBox(kTemplateExists);
            return;
        }
        m_owner.replaceTemplate(m_index, text);
    }
    clearFields();
    endModal(1);
}

void UpdateTemp::CancelPressed() {
    clearFields();
    endModal(0);
}

void UpdateTemp::clearFields() {
    m_text.clear();
    m_original.clear();
    m_index = -1;
    m_historyCleared = true;
    emit changed();
}
