// The composer and the dialogs that copy its text into the list.
#include "list/windows/Fill_Msg_In_List.h"
#include "list/windows/Send_Msg_Info.h"
#include "list/windows/Update_Num_SMS.h"
#include "list/windows/Update_Sel_Num_SMS.h"
#include "text/GsmAlphabet.h"
#include "text/NumberRules.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "TestWindows.h"
#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "core/ReplyOptions.h"
#include "core/SettingsFile.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

using Kind = MainWindowController::Kind;

TEST(GsmAlphabet, EveryCharacterOfBothTablesIsSevenBit) {
    const QString defaultTable = QString::fromUtf8(
        "@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿"
        "abcdefghijklmnopqrstuvwxyzäöñüà");
    const QString extensionTable = QString::fromUtf8("\f^{}\\[~]|€");
    for (QChar c : defaultTable + extensionTable)
        EXPECT_TRUE(isGsm7Character(c)) << "U+" << std::hex << int(c.unicode());
    EXPECT_EQ(defaultTable.size(), 127); // the 128 default characters less the escape code
}

TEST(GsmAlphabet, OtherCharactersNeedUnicode) {
    const struct {
        const char* text;
        bool unicode;
    } cases[] = {
        {"Hello {World} €5", false},
        {"Größe", false},
        {"Привет", true},
        {"ç", true},
        {"Ç", false},
        {"`", true},
        {"\x1B", true}, // the escape code itself is not a character
        {"\t", true},
        {"á", true},
        {"", false},
        {"\xF0\x9F\x98\x80", true}, // outside the BMP
        {"\xC2\xA0", true},         // no-break space
    };
    for (const auto& c : cases)
        EXPECT_EQ(Check_UNICODE_Message(QString::fromUtf8(c.text)), c.unicode) << c.text;
}

class ComposerTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* n : {"1", "2", "3"})
            window.add(n); // list: 1, 2, 3
    }
    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window{Kind::Android, op, home.folder};
};

// A paste longer than a message keeps what fits and says how much was left out; at the limit
// nothing is said.
TEST_F(ComposerTest, ALongPasteKeepsWhatFitsAndSaysWhatWasLeftOut) {
    window.setComposerText(QString(1600, 'y'));
    EXPECT_TRUE(op.alerts().isEmpty());
    window.setComposerText(QString(2000, 'x'));
    EXPECT_EQ(window.composerText(), QString(1600, 'x'));
    EXPECT_EQ(window.characterCounterText(), "1600 Characters");
    EXPECT_EQ(op.alerts(),
              QStringList{"\nA message can be at most 1600 characters long. The first 1600 characters "
                          "were kept; 400 characters were left out."});
    window.setComposerText(QString::fromUtf8("\xF0\x9F\x98\x80"));
    EXPECT_EQ(window.characterCounterText(), "2 Characters"); // UTF-16 units
}

TEST_F(ComposerTest, CostFollowsTheTextAndTheOptionsAsItIsTyped) {
    QStringList shown;
    QObject::connect(&window, &BulkSmsWindow::changed, [&] { shown << window.messageCostText(); });
    window.setComposerText(QString(160, 'a'));
    window.setComposerText(QString(161, 'a'));
    window.setComposerText("\u201Cdon\u2019t\u201D");
    window.setPlainPunctuation(true);
    window.setUnicode(true);
    window.setComposerText("");
    EXPECT_EQ(shown, (QStringList{"GSM 7-bit, 1 SMS", "GSM 7-bit, 2 SMS parts", "Unicode, 1 SMS",
                                  "GSM 7-bit, 1 SMS", "Unicode, 1 SMS", "Empty"}));
    EXPECT_EQ(window.textAsSent("\u201Cdon\u2019t\u201D"), "\"don't\"");
}

// The opt-out footer counts as the network will see it; its text comes from the reply options
// (shared with the Inbox window), read again each time, and turning it on is kept for both windows.
TEST_F(ComposerTest, TheFooterIsCountedAndKeptForBothWindows) {
    window.setComposerText(QString(150, 'a'));
    EXPECT_EQ(window.messageCostText(), "GSM 7-bit, 1 SMS");
    ASSERT_TRUE(window.setFooterOn(true));
    EXPECT_EQ(window.messageCostText(), "GSM 7-bit, 2 SMS parts");
    EXPECT_EQ(window.textAsSent("Hi"), "Hi\nReply STOP to opt out");

    ReplyOptions options = readReplyOptions(home.folder);
    EXPECT_TRUE(options.footer);
    options.footerText = "STOP=end";
    ASSERT_TRUE(writeReplyOptions(home.folder, options));
    EXPECT_EQ(window.textAsSent("Hi"), "Hi\nSTOP=end");
    TestBulkSmsWindow other{Kind::Gsm, op, home.folder};
    EXPECT_EQ(other.footer(), "STOP=end");
    window.setFooterOn(false);
    EXPECT_EQ(other.footer(), "");

    // Whatever the file holds, the options read as something a run can use.
    ASSERT_TRUE(writeFileAtomically(SettingsFile::path(home.folder),
                                    R"({"replies": {"windowDays": -3, "stopWords": [1, " baja ", "BAJA", ""],
                                        "footer": "yes", "footerText": 7}})"));
    options = readReplyOptions(home.folder);
    EXPECT_EQ(options.windowDays, ReplyOptions::kDefaultWindowDays);
    EXPECT_EQ(options.extraStopWords, QStringList{"baja"});
    EXPECT_FALSE(options.footer);
    EXPECT_EQ(options.footerText, ReplyOptions::kDefaultFooter);
    EXPECT_EQ(stopWordsFromText("ARRET, baja\n\nFIN;arret"), (QStringList{"ARRET", "baja", "FIN"}));
}

TEST_F(ComposerTest, FillAllAsksThenCopiesToEveryRecord) {
    window.setComposerText("promo");
    op.onModal<Fill_Msg_In_List>([](Fill_Msg_In_List& d) {
        d.OKPressed(); // No: stays open
        EXPECT_FALSE(d.isEnded());
        d.OKPressed(); // Yes
    });
    op.answerNo().answerYes();
    window.Fill_Msg_Btn();
    EXPECT_EQ(window.messages(), QStringList(3, "promo"));
    EXPECT_EQ(window.prev_composer_msg, "promo");
    EXPECT_EQ(op.questions().first(), "This action will copy the message of composer box to all numbers in "
                                      "the list.\n\nDo you want to continue?");
}

TEST_F(ComposerTest, FillSelectedNeedsASelection) {
    window.setComposerText("sel");
    op.onModal<Fill_Msg_In_List>([this](Fill_Msg_In_List& d) {
        d.setChoice(Fill_Msg_In_List::Choice::Selected);
        d.OKPressed();
        window.setSelectedRows({2, 0});
        d.OKPressed();
        EXPECT_EQ(d.choice(), Fill_Msg_In_List::Choice::All);
    });
    op.answerYes();
    window.Fill_Msg_Btn();
    EXPECT_EQ(window.messages(), (QStringList{"sel", "", "sel"}));
    EXPECT_EQ(
        op.alerts(),
        QStringList{"\nPlease select at least one record from the phone numbers-messages list to continue."});
}

TEST_F(ComposerTest, FillBlankTouchesOnlyEmptyMessages) {
    window.replaceMessage(1, "kept");
    window.setComposerText("new");
    op.onModal<Fill_Msg_In_List>([](Fill_Msg_In_List& d) {
        d.setChoice(Fill_Msg_In_List::Choice::Blank);
        d.OKPressed();
    });
    op.answerYes();
    window.Fill_Msg_Btn();
    EXPECT_EQ(window.messages(), (QStringList{"new", "kept", "new"}));

    window.setComposerText("again");
    op.onModal<Fill_Msg_In_List>([](Fill_Msg_In_List& d) {
        d.setChoice(Fill_Msg_In_List::Choice::Blank);
        d.OKPressed();
        d.CancelPressed();
    });
    window.Fill_Msg_Btn();
    EXPECT_EQ(op.alerts(), QStringList{"\nThere is no blank message in the phone numbers-messages list."});
    EXPECT_EQ(window.prev_composer_msg, "new"); // a cancelled dialog remembers nothing
}

TEST_F(ComposerTest, FillNeedsAListAndAText) {
    window.Fill_Msg_Btn();
    TestBulkSmsWindow empty(Kind::Gsm, op, home.folder);
    empty.setComposerText("x");
    empty.Fill_Msg_Btn();
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPlease enter some text message.", "\nPhone numbers-Messages list is empty."}));
}

TEST_F(ComposerTest, BlankRulesDifferBetweenTheWindows) {
    TestBulkSmsWindow gsm(Kind::Gsm, op, home.folder);
    gsm.add("1");
    gsm.setComposerText("text");
    window.setComposerText("text");
    EXPECT_FALSE(gsm.Blank_Msg_Chk());
    EXPECT_TRUE(window.Blank_Msg_Chk());
    gsm.setComposerText("");
    EXPECT_TRUE(gsm.Blank_Msg_Chk());
    window.replaceMessage(0, "m");
    EXPECT_FALSE(window.Blank_Msg_Chk());
}

TEST_F(ComposerTest, QuestionBeforeSendingComesOncePerNewText) {
    window.prev_composer_msg.clear();
    window.setComposerText("offer");
    op.onModal<Send_Msg_Info>([](Send_Msg_Info& d) {
        d.setChoice(Send_Msg_Info::Choice::Blank);
        d.OKPressed();
    });
    EXPECT_TRUE(window.Send_Msg_Info_Check());
    EXPECT_EQ(window.messages(), QStringList(3, "offer"));
    EXPECT_TRUE(window.Send_Msg_Info_Check()); // same text: no second question
    EXPECT_EQ(op.dialogs().size(), 1);

    window.setComposerText("other");
    op.onModal<Send_Msg_Info>([](Send_Msg_Info& d) { d.ContinuePressed(); });
    EXPECT_TRUE(window.Send_Msg_Info_Check());
    EXPECT_EQ(window.messages(), QStringList(3, "offer"));

    window.setComposerText("third");
    op.onModal<Send_Msg_Info>([](Send_Msg_Info& d) { d.CancelPressed(); });
    EXPECT_FALSE(window.Send_Msg_Info_Check());
}

TEST_F(ComposerTest, UpdateSelectedWaitsForTheCollectionThenApplies) {
    window.Update_Sel_Msgs_Btn(); // nothing selected
    window.setSelectedRows({0, 2});
    op.onModal<Update_Sel_Num_SMS>([](Update_Sel_Num_SMS& d) {
        ASSERT_TRUE(spinUntil([&] { return d.buttonsEnabled(); }));
        EXPECT_EQ(d.numbers(), (QStringList{"1", "3"}));
        EXPECT_EQ(d.totalLabel(), "Total Selected Numbers : 2");
        d.ApplyPressed(); // empty message
        d.setMessage(QString(1700, 'y'));
        EXPECT_EQ(d.characterCounterText(), "1600 Characters");
        d.ApplyPressed();
        EXPECT_EQ(d.characterCounterText(), "0 Characters");
    });
    op.answerYes();
    window.Update_Sel_Msgs_Btn();
    ASSERT_TRUE(spinUntil([&] { return op.dialogs().size() == 1; }));
    EXPECT_EQ(window.messages(), (QStringList{QString(1600, 'y'), "", QString(1600, 'y')}));
    EXPECT_EQ(
        op.alerts(),
        (QStringList{"\nPlease select at least one record from the phone numbers-messages list to continue.",
                     "\nPlease enter some text message.", "\n" + messageCutNotice(100)}));
}

TEST_F(ComposerTest, UpdateSelectedKeepsTheWindowTakingEventsUntilItsDialogOpens) {
    window.setSelectedRows({1});
    bool handledBeforeOpening = false;
    // Queued before the press: runs during the second before the dialog opens, and its
    // press of the same button then opens nothing more.
    MainThread::post([&] {
        handledBeforeOpening = true;
        window.Update_Sel_Msgs_Btn();
    });
    int opened = 0;
    const auto cancel = [&](Update_Sel_Num_SMS& d) {
        ++opened;
        EXPECT_TRUE(handledBeforeOpening);
        ASSERT_TRUE(spinUntil([&] { return d.buttonsEnabled(); }));
        EXPECT_EQ(d.numbers(), QStringList{"2"});
        d.CancelPressed();
    };
    op.onModal<Update_Sel_Num_SMS>(cancel); // a second dialog would be unscripted
    window.Update_Sel_Msgs_Btn();
    ASSERT_TRUE(spinUntil([&] { return opened == 1; }));
    op.onModal<Update_Sel_Num_SMS>(cancel);
    window.Update_Sel_Msgs_Btn(); // once it has opened, the button works again
    ASSERT_TRUE(spinUntil([&] { return opened == 2; }));
    EXPECT_EQ(op.dialogs().size(), 2);
}

TEST_F(ComposerTest, SingleUpdateRevalidatesAChangedNumber) {
    window.setSkipDuplicates(true);
    window.setSelectedRows({1});
    op.onModal<Update_Num_SMS>([](Update_Num_SMS& d) {
        EXPECT_EQ(d.originalNumber(), "2");
        d.setNumber("2a");
        d.OKPressed();
        d.setNumber("3");
        d.OKPressed();
        d.setNumber(" +44 (20) 1");
        d.setMessage("hi");
        d.OKPressed();
        EXPECT_TRUE(d.number().isEmpty());
    });
    window.doubleClickInTable(1);
    EXPECT_EQ(window.numbers(), (QStringList{"1", "+44201", "3"}));
    EXPECT_EQ(window.messages(), (QStringList{"", "hi", ""}));
    EXPECT_EQ(op.alerts(),
              (QStringList{"\nPlease enter a valid phone number.", "\nEntered number already exists."}));

    window.setSelectedRows({0, 1});
    window.doubleClickInTable(0);
    EXPECT_EQ(op.alerts().last(), "\nPlease select only one record to update.");
}

TEST_F(ComposerTest, UnchangedNumberKeepsItsTextAsShown) {
    op.onModal<Update_Num_SMS>([](Update_Num_SMS& d) {
        d.setMessage("only the message");
        d.OKPressed();
    });
    window.doubleClickInTable(2);
    EXPECT_EQ(window.list().at(2), recipientRecord("3", "only the message"));
}

TEST_F(ComposerTest, MessageTypeNotificationMeansFlash) {
    EXPECT_EQ(window.messageTypeIndex(), 1);
    EXPECT_FALSE(window.isFlashMessage());
    EXPECT_NE(BulkSmsWindow::messageTypes().value(0), "Notification");
    window.setMessageTypeIndex(int(BulkSmsWindow::messageTypes().indexOf("Notification")));
    EXPECT_TRUE(window.isFlashMessage());
}

TEST(DelaySchedule, CheckBoxSelectsDefaultsAndEmptiesWhenOff) {
    TestDataHome home;
    ScriptedOperator op;
    TestBulkSmsWindow window(MainWindowController::Kind::Gsm, op, home.folder);
    window.Delayed_Delivery_Chk(true);
    EXPECT_EQ(window.delayedCountChoice(), "15");
    EXPECT_EQ(window.delayedTimeChoice(), " 2  Minutes");
    EXPECT_TRUE(window.delayedChoicesEnabled());
    EXPECT_TRUE(window.Check_Delayed_Delivery_Choices());

    window.setDelayedTimeChoice("  ");
    EXPECT_FALSE(window.Check_Delayed_Delivery_Choices());
    EXPECT_EQ(op.alerts(), QStringList{"\nNo values have been selected in 'Delayed Delivery Options'."});

    window.Delayed_Delivery_Chk(false);
    EXPECT_FALSE(window.delayedChoicesEnabled());
    EXPECT_TRUE(window.delayedCountChoice().isEmpty() && window.delayedTimeChoice().isEmpty());
    EXPECT_TRUE(window.Check_Delayed_Delivery_Choices()); // off: nothing to check
}

} // namespace

// The options outlive the window: a new one on the same data folder finds them as they were
// left. A damaged settings file reads as the defaults; a settings file that cannot be written
// is told, and the option still holds for this run.
TEST(WindowOptions, AreKeptAcrossRestartsAndAFailedSaveIsTold) {
    TestDataHome home;
    ScriptedOperator op;
    {
        TestBulkSmsWindow window(Kind::Gsm, op, home.folder);
        window.windowDidLoad();
        window.setSkipDuplicates(true);
        window.setSaveSentItems(true);
        window.setUnicode(true);
        window.Delayed_Delivery_Chk(true);
        window.setDelayedCountChoice("50");
    }
    TestBulkSmsWindow again(Kind::Gsm, op, home.folder);
    again.windowDidLoad();
    EXPECT_TRUE(again.skipDuplicates() && again.saveSentItems() && again.unicode());
    EXPECT_FALSE(again.saveTemplates() || again.exclusion() || again.plainPunctuation());
    EXPECT_TRUE(again.delayedDelivery());
    EXPECT_EQ(again.delayedCountChoice(), "50");
    EXPECT_EQ(again.delayedTimeChoice(), " 2  Minutes");
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join('|').toStdString();

    const QString path = SettingsFile::path(home.folder);
    for (const QByteArray& damaged :
         {QByteArray("{\"list\": {\"skipDuplicates\": tru"), QByteArray("[1, 2]"),
          QByteArray("{\"list\": {\"pauses\": true, \"pauseAfter\": \"9999\"}}")}) {
        ASSERT_TRUE(writeFileAtomically(path, damaged));
        TestBulkSmsWindow fresh(Kind::Gsm, op, home.folder);
        fresh.windowDidLoad();
        EXPECT_FALSE(fresh.skipDuplicates() || fresh.delayedDelivery()) << damaged.toStdString();
    }

    ASSERT_TRUE(QFile::remove(path) && QDir().mkpath(path)); // a folder where the file goes
    again.setSkipDuplicates(false);
    EXPECT_FALSE(again.skipDuplicates());
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().first().startsWith("\nThe options could not be kept for the next start."));
}
