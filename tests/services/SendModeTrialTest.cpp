// The send-mode trial: its case list, the history kept in a record, the report file, and a
// run stopped part way through a virtual modem.
#include "services/SendModeTrial.h"

#include "TestEnvironment.h"
#include "core/Clock.h"
#include "gsm/MFCSMS.h"
#include "sim/VirtualModem.h"

#include <gtest/gtest.h>

namespace {

const QString kCustom = QStringLiteral("+447700900999");
const QString kTo = QStringLiteral("+447700900555");

TEST(SendModeCases, TheCaseListFollowsTheModesAndTheCustomServiceCentre) {
    struct Row {
        const char* supported;
        bool custom;
        QStringList codes;
    };
    const Row rows[] = {
        {";Text Mode;", false, {"TXT_DEF_SMSC"}},
        {";PDU Mode;", true, {"PDU_CUS_SMSC", "PDU_DEF_SMSC"}},
        {";PDU Mode;Text Mode;", true, {"PDU_CUS_SMSC", "PDU_DEF_SMSC", "TXT_CUS_SMSC", "TXT_DEF_SMSC"}},
        {";PDU Mode;Text Mode;", false, {"PDU_DEF_SMSC", "TXT_DEF_SMSC"}},
        {"NONE", true, {}},
    };
    for (const Row& row : rows) {
        const RecordList cases = SendModeTrial::Fill_Test_case_List(row.supported, row.custom, "E173", "");
        EXPECT_EQ(columnOf(cases, "Case_Name"), row.codes) << row.supported << row.custom;
        for (int i = 0; i < cases.size(); ++i) {
            EXPECT_EQ(cases.at(i).value("Possible_Case"), QStringLiteral("Case %1:").arg(i + 1));
            EXPECT_EQ(cases.at(i).value("Case_SMS"),
                      cases.at(i).value("Description") + " is working for Device Model: E173");
            EXPECT_EQ(cases.at(i).value("Status"), "");
        }
    }
    EXPECT_EQ(SendModeTrial::descriptionOf("TXT_CUS_SMSC"), "Text Mode with Custom SMSC");
}

TEST(SendModeCases, TheHistoryGivesEachCaseItsStatusBack) {
    RecordList cases = SendModeTrial::Fill_Test_case_List(";PDU Mode;Text Mode;", true, "M", "");
    cases[0].insert("Status", "+CMS ERROR: 330");
    cases[1].insert("Status", "Message sent successfully.");
    cases[3].insert("Status", "Stopped");
    const QString history = SendModeTrial::historyOf(cases);
    EXPECT_EQ(history, "PDU_CUS_SMSC||+CMS ERROR: 330||PDU_DEF_SMSC||Message sent successfully.||"
                       "TXT_CUS_SMSC||||TXT_DEF_SMSC||Stopped||");
    // Read back into a list without the custom cases: each keeps its own status.
    EXPECT_EQ(
        columnOf(SendModeTrial::Fill_Test_case_List(";PDU Mode;Text Mode;", false, "M", history), "Status"),
        (QStringList{"Message sent successfully.", "Stopped"}));
    EXPECT_EQ(SendModeTrial::statusInHistory("garbage||", "PDU_DEF_SMSC"), "");
}

TEST(SendModeCases, TestNumbersAreTrimmedButNotNormalised) {
    const struct {
        const char* typed;
        bool accepted;
    } rows[] = {
        {"+442079460958", true},
        {"  00442079460958 ", true},
        {"+44 20 7946 0958", false},
        {"44+2079460958", false},
        {"", false},
        {"0044207946095812345678", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(SendModeTrial::testNumberProblem(row.typed).isEmpty(), row.accepted) << row.typed;
}

TEST(SendModeCases, TheReportIsOneUtf8TextWithOneMark) {
    RecordList cases = SendModeTrial::Fill_Test_case_List(";Text Mode;", false, "Zé", "");
    cases[0].insert("Status", "Message sent successfully.");
    const QString rule(76, '=');
    const QString text = rule + "\n\n\t\t\t[ Test Case Summary]\t\t\t\n\n" + rule + "\nCOM Port : x\r\n\n\n" +
                         "Case 1:\nText Mode with Default SMSC is working for Device Model: Zé\n"
                         "Message sent successfully.\n\n";
    const QByteArray bytes = SendModeTrial::reportBytes("COM Port : x\r\n", cases);
    EXPECT_EQ(bytes, "\xEF\xBB\xBF" + text.toUtf8());
    EXPECT_EQ(reportText(bytes), text);
}

class TrialOnAModem : public ::testing::Test {
protected:
    void SetUp() override { Clock::setScale(0.2); } // read time-outs leave the virtual modem time to answer
    void TearDown() override { Clock::setScale(0.001); }
};

TEST_F(TrialOnAModem, StopDuringTheSecondCaseLeavesTheRestStopped) {
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    sim::VirtualModem modem({}, behaviour);
    ASSERT_TRUE(modem.start());
    SendModeTrial::Request request{
        modem.devicePath(), kCustom, "+447700900123", kTo,
        SendModeTrial::Fill_Test_case_List(";PDU Mode;Text Mode;", true, "VM", "")};
    std::atomic<bool> stop{false};
    QStringList announced;
    SendModeTrial::Progress progress;
    progress.announce = [&](const QString& text) {
        announced << text;
        if (text.startsWith("Case 2 :"))
            stop = true; // asked while case 2 is under way
    };
    progress.caseProgress = [](int) {};
    progress.caseEnded = [](int, const QString&) {};
    MFCSMS session;
    EXPECT_EQ(SendModeTrial::run(session, request, stop, progress, "Case %1 : %2"),
              SendModeTrial::End::Stopped);
    EXPECT_EQ(
        columnOf(request.cases, "Status"),
        (QStringList{"Message sent successfully.", "Message sent successfully.", "Stopped", "Stopped"}));
    EXPECT_EQ(announced,
              (QStringList{"Connecting Device", "Initialize Device", "Case 1 : PDU Mode with Custom SMSC",
                           "Case 2 : PDU Mode with Default SMSC"}));
    EXPECT_EQ(modem.received().size(), 2);
}

} // namespace
