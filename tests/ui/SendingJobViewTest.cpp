// The sending window over a real run against virtual modems: what a person sees of each
// message while the run goes on.
#include "ui/SendingJobView.h"
#include "core/Clock.h"
#include "list/NumberList.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sim/VirtualModem.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QAbstractItemModel>
#include <QHeaderView>
#include <QPushButton>
#include <QSet>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

namespace {

// The text of the view's cell in the row of `number` and the column titled `title`.
QString cell(QTableView& table, const QString& number, const QString& title) {
    const QAbstractItemModel& model = *table.model();
    int column = -1;
    for (int c = 0; c < model.columnCount(); ++c)
        if (model.headerData(c, Qt::Horizontal).toString() == title)
            column = c;
    for (int r = 0; r < model.rowCount(); ++r)
        if (model.index(r, 0).data().toString() == number)
            return column < 0 ? QString() : model.index(r, column).data().toString();
    return {};
}

TEST(SendingJobView, DeliveryStatesFillInAsTheReportsCome) {
    Clock::setScale(0.05);
    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window(op, home.folder);
    window.windowDidLoad();

    sim::ModemBehaviour network;
    network.networkDelayMs = 0;
    network.deliveryStatusForNumber.insert("+447700900002", 0x61);
    network.noStatusReportFor << "+447700900003";
    sim::VirtualModem modem(sim::ModemIdentity{}, network);
    ASSERT_TRUE(modem.start());
    selectModem(window.selection(), modem.devicePath());
    window.applyDeviceSelection();
    window.setDeliveryReports(true);
    for (const char* n : {"+447700900003", "+447700900002", "+447700900001"})
        window.Create_Num_Msg_List(n, "Your order is ready for collection.");
    window.prev_composer_msg = window.composerText();

    bool pendingSeen = false;
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        SendingJobView view(job, nullptr);
        view.show();
        auto* table = view.findChild<QTableView*>();
        ASSERT_NE(table, nullptr);
        // A message sent whose report has not come yet shows as pending.
        pendingSeen = spinUntil([&] { return cell(*table, "+447700900001", "Delivery") == "Pending"; });
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                              std::chrono::seconds(60)));
        EXPECT_FALSE(table->isColumnHidden(int(job.itemTable().columns().indexOf("Delivery"))));
        EXPECT_EQ(cell(*table, "+447700900001", "Delivery"), "Delivered");
        EXPECT_EQ(cell(*table, "+447700900002", "Delivery"), "Not delivered (recipient busy)");
        EXPECT_EQ(cell(*table, "+447700900003", "Delivery"), "No report received");
        const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!pictures.isEmpty())
            view.grab().save(pictures + "/sending-delivery.png");
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        if (!job.isEnded())
            job.CancelPressed();
    });
    window.Send_SMS_Btn();
    ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    EXPECT_TRUE(pendingSeen);
    Clock::setScale(0.001);
}

// While "Are you sure" is on screen nothing new goes out; No lets the run go on where it was,
// Yes ends it there. The question is answered as a person would: after a while, the window's
// events flowing meanwhile as under a real message box.
class StopQuestionTest : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::setScale(0.05);
        window.windowDidLoad();
        for (int i = 0; i < 2; ++i) {
            sim::ModemIdentity id;
            id.imei = QString::number(356000000000100LL + i);
            sim::ModemBehaviour network;
            network.networkDelayMs = 0;
            modems.push_back(std::make_unique<sim::VirtualModem>(id, network));
            ASSERT_TRUE(modems.back()->start());
            selectModem(window.selection(), modems.back()->devicePath());
        }
        window.applyDeviceSelection();
        for (int i = 0; i < kRecipients; ++i)
            window.Create_Num_Msg_List(QStringLiteral("+447700900%1").arg(100 + i), "Stop or go on?");
        window.prev_composer_msg = window.composerText();
    }
    void TearDown() override { Clock::setScale(0.001); }
    int received() const {
        int count = 0;
        for (const auto& modem : modems)
            count += int(modem->received().size());
        return count;
    }
    // Presses Stop once a few messages went out, and answers after two seconds of hesitation.
    // The messages the network got while the question was shown.
    int hesitateAtStop(bool stop) {
        int duringQuestion = -1;
        op.answerWith([&](const QString&) {
            const int atQuestion = received();
            spinUntil([] { return false; }, std::chrono::seconds(2));
            duringQuestion = received() - atQuestion;
            return stop;
        });
        op.onModal<SMS_Sending>([&](SMS_Sending& job) {
            SendingJobView view(job, nullptr);
            view.show();
            ASSERT_TRUE(spinUntil([&] { return received() >= 3; }, std::chrono::seconds(60)));
            QPushButton* stopButton = nullptr;
            for (auto* button : view.findChildren<QPushButton*>())
                if (button->text() == "Stop")
                    stopButton = button;
            ASSERT_NE(stopButton, nullptr);
            QTest::mouseClick(stopButton, Qt::LeftButton);
            ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                                  std::chrono::seconds(60)));
            ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
            const QString pictures = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
            if (!pictures.isEmpty())
                view.grab().save(pictures + (stop ? "/sending-stopped.png" : "/sending-went-on.png"));
            if (!job.isEnded())
                job.CancelPressed();
        });
        window.Send_SMS_Btn();
        EXPECT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
        return duringQuestion;
    }

    static constexpr int kRecipients = 40;
    TestDataHome home;
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window{op, home.folder};
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
};

TEST_F(StopQuestionTest, NoNewMessageWhileTheOperatorHesitatesAndNoGoesOnWhereItWas) {
    const int duringQuestion = hesitateAtStop(false);
    EXPECT_LE(duringQuestion, 2); // at most the one in the hands of each modem
    EXPECT_GE(duringQuestion, 0);
    EXPECT_EQ(received(), kRecipients);
    QSet<QString> numbers;
    for (const auto& modem : modems)
        for (const auto& message : modem->received())
            numbers.insert(message.number);
    EXPECT_EQ(numbers.size(), kRecipients); // everyone once
}

// Yes ends the run where it was held; the list then marks who was sent, and sending it again
// asks first and reaches only those not yet sent: nobody twice.
TEST_F(StopQuestionTest, YesEndsTheRunWhereItWasHeldAndTheRestIsSentOnlyOnAsking) {
    const int duringQuestion = hesitateAtStop(true);
    EXPECT_LE(duringQuestion, 2);
    EXPECT_GE(duringQuestion, 0);
    const int first = received();
    ASSERT_LT(first, kRecipients);
    EXPECT_TRUE(window.sendingJob().notice().contains(
        QStringLiteral("Stopped: %1 of %2 sent.").arg(first).arg(kRecipients)))
        << window.sendingJob().notice().toStdString();
    EXPECT_EQ(window.sendingJob().notYetSentOffer(),
              QStringLiteral("Send to the %1 not yet sent").arg(kRecipients - first));
    QStringList marks;
    for (const Record& row : window.list().records())
        marks << row.value(kLastRunKey);
    EXPECT_EQ(marks.count("Sent"), first);
    EXPECT_EQ(marks.count("Not sent"), kRecipients - first);

    QStringList questions;
    op.answerWith([&](const QString& question) {
        questions << question;
        return true;
    });
    op.onModal<SMS_Sending>([&](SMS_Sending& job) {
        ASSERT_TRUE(spinUntil([&] { return job.statusLine() == kFinish && !job.pleaseWaitShown(); },
                              std::chrono::seconds(60)));
        ASSERT_TRUE(spinUntil([&] { return !job.running(); }, std::chrono::seconds(30)));
        if (!job.isEnded())
            job.CancelPressed();
    });
    window.Send_SMS_Btn();
    ASSERT_TRUE(spinUntil([&] { return !window.sendingUnderWay(); }, std::chrono::seconds(90)));
    EXPECT_EQ(
        questions.filter(QStringLiteral("Send only to the %1 not yet sent?").arg(kRecipients - first)).size(),
        1)
        << questions.join('|').toStdString();
    QStringList numbers;
    for (const auto& modem : modems)
        for (const auto& message : modem->received())
            numbers << message.number;
    EXPECT_EQ(numbers.size(), kRecipients);
    EXPECT_EQ(QSet<QString>(numbers.cbegin(), numbers.cend()).size(), kRecipients); // everyone once
}

} // namespace
