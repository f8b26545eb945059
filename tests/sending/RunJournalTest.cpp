// The run journal read back as a crash leaves it, and the resume built from it.
#include "sending/RunJournal.h"
#include "sending/ResumeRun.h"
#include "sending/windows/ResumeOffer.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

QList<SendingItem> itemsOf(const QStringList& numbers) {
    QList<SendingItem> items;
    for (const QString& n : numbers) {
        SendingItem item;
        item.number = n;
        item.message = QStringLiteral("Hi ") + n;
        items << item;
    }
    return items;
}

class RunJournalTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.folder.Check_Path_And_Create_Files()); }
    TestDataHome home;
};

TEST_F(RunJournalTest, ACrashLeavesWhatWasSentWhatWasNotAndWhatMayHaveBeen) {
    QList<SendingItem> items = itemsOf({"1", "2", "3", "4", "5"});
    items[4].status = kSkipped; // finished when the list was loaded
    {
        RunJournal journal{home.folder};
        ASSERT_TRUE(journal.begin(items, {{"9", "Hi 9", "Message sent successfully.", false, "Delivered"}}));
        journal.handing(0, "/dev/pts/1");
        SendingItem sent = items[0];
        sent.status = QStringLiteral("Message sent successfully.");
        journal.finished(0, sent);
        journal.delivery(0, "Not delivered (recipient busy)");
        journal.handing(1, "/dev/pts/1"); // the crash comes while this one is handed over
        journal.handing(2, "/dev/pts/2");
        journal.waiting(2, "+CMS ERROR: 38"); // refused, waiting for another attempt
    }
    ASSERT_TRUE(appendToFile(RunJournal::path(home.folder), "{\"i\":3,\"hand")); // a line the crash cut short

    const std::optional<RunJournal::Unfinished> left = RunJournal::load(home.folder);
    ASSERT_TRUE(left);
    ASSERT_EQ(left->total(), 6);
    EXPECT_EQ(left->sent(), 2);
    const ResumePlan plan = planResume(*left, false);
    QStringList toSend;
    for (const RunJournal::Entry& e : plan.toSend)
        toSend << e.number;
    EXPECT_EQ(toSend, (QStringList{"3", "4"}));
    EXPECT_EQ(plan.unknown, 1);
    EXPECT_EQ(plan.carried.size(), 4); // 9 and 1 sent, 2 unknown, 5 skipped
    EXPECT_EQ(planResume(*left, true).toSend.size(), 3);
    EXPECT_EQ(plan.toSend.first().message, "Hi 3");
    // What the network reported of a delivery survives the crash, carried or not.
    EXPECT_EQ(left->entries.at(0).delivery, "Delivered");
    EXPECT_EQ(left->entries.at(1).delivery, "Not delivered (recipient busy)");
}

TEST_F(RunJournalTest, ARunThatEndsLeavesNothingToResume) {
    RunJournal journal{home.folder};
    ASSERT_TRUE(journal.begin(itemsOf({"1"})));
    EXPECT_TRUE(RunJournal::load(home.folder));
    journal.end();
    EXPECT_FALSE(RunJournal::load(home.folder));
    EXPECT_FALSE(QFile::exists(RunJournal::path(home.folder)));
}

TEST_F(RunJournalTest, StartUpOffersToResumeAndFillsTheListWithWhatIsLeft) {
    {
        RunJournal journal{home.folder};
        ASSERT_TRUE(journal.begin(itemsOf({"1", "2", "3"})));
        SendingItem sent = itemsOf({"1"}).first();
        sent.status = QStringLiteral("Message sent successfully.");
        journal.finished(0, sent);
        journal.handing(1, "/dev/pts/1");
    }
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd window(op, home.folder);
    Bulk_SMSAppDelegate phoneWindow(op, home.folder);
    op.answerYes(); // resume
    op.answerNo();  // the one of unknown fate is not sent again
    offerToResumeUnfinishedRun(window, phoneWindow, op);
    EXPECT_EQ(op.questions(),
              (QStringList{"Resume the unfinished run (1 of 3 sent)?",
                           "1 message(s) were being handed to a modem when the run broke off and may have "
                           "been sent.\n\nSend them again?"}));
    ASSERT_EQ(window.list().size(), 1);
    EXPECT_EQ(window.list().records().first().value("Number"), "3");
    EXPECT_EQ(window.carriedRun().take().size(), 2);
    EXPECT_TRUE(phoneWindow.list().isEmpty());

    // No, then No again: nothing is resumed and nothing is lost; the next start asks again.
    ScriptedOperator keeping;
    Gsm_Bulk_Sms_Wnd kept(keeping, home.folder);
    Bulk_SMSAppDelegate keptPhone(keeping, home.folder);
    keeping.answerNo().answerNo();
    offerToResumeUnfinishedRun(kept, keptPhone, keeping);
    EXPECT_TRUE(kept.list().isEmpty());
    EXPECT_TRUE(RunJournal::load(home.folder));

    // No, then Yes to discarding: the journal goes, and the next start asks nothing.
    ScriptedOperator other;
    Gsm_Bulk_Sms_Wnd fresh(other, home.folder);
    Bulk_SMSAppDelegate freshPhone(other, home.folder);
    other.answerNo().answerYes();
    offerToResumeUnfinishedRun(fresh, freshPhone, other);
    EXPECT_EQ(other.questions().last(),
              "Discard the unfinished run? Its recipients who were not sent yet will "
              "not be sent.\n\nNo keeps it, to resume at the next start.");
    EXPECT_TRUE(fresh.list().isEmpty());
    EXPECT_FALSE(RunJournal::load(home.folder));
}

TEST_F(RunJournalTest, ARunThroughAPhoneResumesInThePhoneWindowAndCountsWhatThePhoneTook) {
    {
        RunJournal journal{home.folder};
        ASSERT_TRUE(journal.begin(itemsOf({"1", "2"}), {}, kAndroidRoad));
        SendingItem taken = itemsOf({"1"}).first();
        taken.outcome = SendOutcome::of(Outcome::HandedToPhone);
        taken.status = taken.outcome->text();
        journal.finished(0, taken);
    }
    EXPECT_FALSE(RunJournal::load(home.folder)); // the GSM road's record is another
    const std::optional<RunJournal::Unfinished> unfinished =
        RunJournal::load(home.folder, nullptr, kAndroidRoad);
    ASSERT_TRUE(unfinished);
    EXPECT_EQ(unfinished->sent(), 1); // the phone has it: never sent again
    ScriptedOperator op;
    Gsm_Bulk_Sms_Wnd gsm(op, home.folder);
    Bulk_SMSAppDelegate phone(op, home.folder);
    op.answerYes();
    offerToResumeUnfinishedRun(gsm, phone, op);
    EXPECT_TRUE(gsm.list().isEmpty());
    ASSERT_EQ(phone.list().size(), 1);
    EXPECT_EQ(phone.list().records().first().value("Number"), "2");
    EXPECT_TRUE(phone.carriedRun().resuming());
}

} // namespace
