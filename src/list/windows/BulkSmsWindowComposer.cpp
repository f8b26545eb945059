// The composer half of the main windows: text with its 1600-character limit (a longer paste
// keeps what fits, and says so) and counter,
// message options, and the operations that copy the composed text into the list.
#include "BulkSmsWindow.h"

#include "Fill_Msg_In_List.h"
#include "Send_Msg_Info.h"
#include "Update_Sel_Num_SMS.h"
#include "core/Clock.h"
#include "core/Operator.h"
#include "core/ReplyOptions.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"
#include "text/SmsParts.h"

#include <memory>
#include <utility>

void BulkSmsWindow::setComposerText(const QString& text) {
    if (text == m_composerText)
        return;
    m_composerText = text;
    if (textChangeNotificationsOn())
        applyComposerCut();
    emit changed();
}

void BulkSmsWindow::applyComposerCut() {
    if (m_composerText.size() > kMaxMessageLength) {
        const qsizetype leftOut = m_composerText.size() - kMaxMessageLength;
        m_composerText.truncate(kMaxMessageLength);
        op().Show_MessageBox(messageCutNotice(leftOut));
    }
    m_characterCounter = QStringLiteral("%1 Characters").arg(m_composerText.size());
}

void BulkSmsWindow::setUnicode(bool on) {
    m_unicode = on;
    keepOptions();
    applyComposerCut();
    emit changed();
}

void BulkSmsWindow::setPlainPunctuation(bool on) {
    m_plainPunctuation = on;
    keepOptions();
    emit changed();
}

QString BulkSmsWindow::textAsSent(const QString& text) const {
    const QString withFooter = SmsParts::withFooter(text, footer(), kMaxMessageLength);
    return m_plainPunctuation ? SmsParts::withPlainPunctuation(withFooter) : withFooter;
}

QString BulkSmsWindow::footer() const { return readReplyOptions(m_folder).footerInUse(); }

bool BulkSmsWindow::setFooterOn(bool on) {
    ReplyOptions options = readReplyOptions(m_folder);
    options.footer = on;
    QString why;
    const bool kept = writeReplyOptions(m_folder, options, &why);
    if (!kept)
        op().Show_MessageBox(QStringLiteral("The footer option could not be kept: %1").arg(why));
    emit changed();
    return kept;
}

QString BulkSmsWindow::messageCostOf(const QString& text) const {
    return SmsParts::describe(SmsParts::costOf(textAsSent(text), m_unicode));
}

QStringList BulkSmsWindow::messageTypes() {
    // Index 1 is the default; "Notification" is the flash message.
    return {QStringLiteral("Text"), QStringLiteral("Standard"), QStringLiteral("Notification")};
}

void BulkSmsWindow::setMessageTypeIndex(int index) {
    if (index < 0 || index >= messageTypes().size())
        return;
    m_messageTypeIndex = index;
    emit changed();
}

bool BulkSmsWindow::isFlashMessage() const {
    return messageTypes().value(m_messageTypeIndex) == QLatin1String("Notification");
}

bool BulkSmsWindow::Blank_Msg_Chk() const {
    for (const Record& r : m_list.records())
        if (!r.value(kMessageKey).isEmpty())
            return false;
    return kind() == Kind::Gsm ? m_composerText.isEmpty() : true;
}

void BulkSmsWindow::captureCurrentMessage() { m_currentMessage = m_composerText.left(kMaxMessageLength); }

void BulkSmsWindow::replaceMessage(int row, const QString& message) {
    if (row < 0 || row >= m_list.size())
        return;
    Record record = m_list.at(row); // the number in both its forms stays
    record.insert(kMessageKey, message);
    m_list.replace(row, record);
}

void BulkSmsWindow::Fill_Msg_Btn() {
    if (m_list.isEmpty()) {
        op().Show_MessageBox(QStringLiteral("Phone numbers-Messages list is empty."));
        requestFocus(Focus::NumberField);
        return;
    }
    if (m_composerText.isEmpty()) {
        op().Show_MessageBox(QStringLiteral("Please enter some text message."));
        requestFocus(Focus::Composer);
        return;
    }
    if (m_composerText.size() > kMaxMessageLength) {
        m_composerText = m_composerText.left(kMaxMessageLength);
        emit changed();
    }
    captureCurrentMessage();
    Fill_Msg_In_List dialog(*this);
    if (op().runModal(dialog) == 1)
        prev_composer_msg = m_currentMessage;
}

void BulkSmsWindow::Update_Sel_Msgs_Btn() {
    if (m_list.isEmpty()) {
        op().Show_MessageBox(QStringLiteral("Phone numbers-Messages list is empty."));
        return;
    }
    if (m_selectedRows.isEmpty()) {
        op().Show_MessageBox(QStringLiteral(
            "Please select at least one record from the phone numbers-messages list to continue."));
        return;
    }
    if (m_selectedUpdate != nullptr)
        return; // pressed again while its dialog is about to open
    // A child of the window: it goes with the window if the window goes first.
    m_selectedUpdate = new Update_Sel_Num_SMS(*this, this);
    m_selectedUpdate->startCollecting();
    // The dialog opens a second after the collection starts; the window takes events meanwhile.
    Clock::after(std::chrono::seconds(1), this, [this] {
        const std::unique_ptr<Update_Sel_Num_SMS> dialog(std::exchange(m_selectedUpdate, nullptr));
        op().runModal(*dialog);
    });
}

bool BulkSmsWindow::Send_Msg_Info_Check() {
    const QString composer = m_composerText.left(kMaxMessageLength);
    if (composer.isEmpty() || composer == prev_composer_msg)
        return true;
    prev_composer_msg = composer;
    captureCurrentMessage();
    Send_Msg_Info dialog(*this);
    const int code = op().runModal(dialog);
    return code == 1 || code == 0;
}

bool BulkSmsWindow::listReadyToSend() {
    const QString problem = !Trim_Str(numberField()).isEmpty()
                                ? QStringLiteral("Please insert entered number to the list.")
                            : list().isEmpty() ? QStringLiteral("Phone numbers-Messages list is empty.")
                                               : QString();
    if (problem.isEmpty())
        return true;
    op().Show_MessageBox(problem);
    requestFocus(Focus::NumberField);
    return false;
}
