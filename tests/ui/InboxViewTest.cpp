// The inbox window over a real store in a temporary data folder: replies to two campaigns, the
// filters and the search, a conversation marked read by being opened and unread on request, the
// opt-out and its taking back as the store sees them, the export read back, the options kept,
// and a store that refuses. BULKSMS_SCREENSHOT_DIR, when set, receives PNGs of the windows.
#include "StoredCampaigns.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/Conversations.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "core/FileUtils.h"
#include "core/MainWindows.h"
#include "core/ReplyOptions.h"
#include "core/SettingsFile.h"
#include "list/DefaultCountry.h"
#include "list/NumberCandidates.h"
#include "sending/windows/Bulk_SMSAppDelegate.h"
#include "sending/windows/CampaignsWindow.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/InboxExport.h"
#include "sending/windows/InboxWindow.h"
#include "sheets/SpreadsheetWriter.h"
#include "stores/windows/ExportDialogs.h"
#include "stores/windows/StoreWindows.h"
#include "ui/GsmBulkSmsView.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTextBrowser>

#include <gtest/gtest.h>

namespace {

constexpr qint64 kHour = qint64(3600) * 1000;

class InboxViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        ViewRegistry::registerStandardViews();
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        store = CampaignStore::forFolder(home.folder, nullptr);
        ASSERT_TRUE(store);
    }
    // A campaign of the text to the numbers, sent an hour ago; its id.
    qint64 campaign(const QStringList& numbers, const QString& text) {
        StoredRun run(
            store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), optionsOf(RunSettings{}), 0});
        QList<SendingItem> items;
        for (const QString& n : numbers) {
            items << SendingItem{};
            items.last().number = n;
            items.last().message = text;
        }
        run.begin(items, kGsmRoad);
        while (const auto claim = run.claimNext("A", false, {}, {}, true)) {
            SendOutcome ok = SendOutcome::of(Outcome::Sent);
            ok.device = "A";
            run.finish(claim->index, ok, "Done (A)", false);
        }
        run.end();
        EXPECT_TRUE(store->write([&](SqlDatabase& db) {
            return db.exec("UPDATE items SET sent_at = ? WHERE campaign = ?",
                           {CampaignStore::now() - kHour, run.campaignId()});
        }));
        return run.campaignId();
    }
    qint64 reply(const QString& sender, const QString& text) {
        ReceivedMessage m;
        m.device = "8944100000000000001";
        m.road = kGsmRoad;
        m.sender = sender;
        m.text = text;
        m.sentAt = CampaignStore::now();
        const std::optional<StoredReply> kept = storeReceived(*store, m);
        EXPECT_TRUE(kept);
        return kept ? kept->id : 0;
    }
    // Two campaigns and their replies, and a bank's message that answers none.
    void twoCampaigns() {
        first = campaign({"+447911123100", "+447911123101"}, "Spring sale: 20% off");
        reply("+447911123100", "Yes, \"interested\", call me\nafter 5");
        reply("+447911123101", "STOP");
        second = campaign({"+447911123102"}, "Your table is booked");
        reply("+447911123102", "=HYPERLINK(\"http://x\")");
        reply("MyBank", "Code 1234");
    }
    std::unique_ptr<QDialog> shown(DialogController& dialog) {
        std::unique_ptr<QDialog> view(ViewRegistry::createView(dialog, nullptr));
        view->show();
        return view;
    }
    void read() {
        window.refresh();
        window.waitForLoading();
    }
    // The window read the store again after what the test just did (a read under way may have
    // begun before it).
    void readAgain() {
        window.waitForLoading();
        read();
    }
    QStringList listed() {
        QStringList numbers;
        for (const ConversationRow& row : window.conversations())
            numbers << row.number;
        return numbers;
    }
    int rowOf(const QString& number) { return int(listed().indexOf(number)); }
    qint64 unreadOf(const QString& number) {
        ConversationFilter filter;
        filter.search = number;
        const std::optional<ConversationPage> page = listConversations(*store, filter);
        return page && !page->rows.isEmpty() ? page->rows.first().unread : -1;
    }
    static QPushButton* button(QWidget& view, const QString& text) {
        for (QPushButton* b : view.findChildren<QPushButton*>())
            if (b->text() == text)
                return b;
        return nullptr;
    }
    static void click(QWidget& view, const QString& text) {
        QPushButton* b = button(view, text);
        ASSERT_TRUE(b) << "no button " << text.toStdString();
        ASSERT_TRUE(b->isEnabled()) << text.toStdString();
        b->click();
    }
    static void screenshot(QWidget& view, const QString& name) {
        const QString dir = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!dir.isEmpty())
            view.grab().save(dir + "/" + name + ".png");
    }
    static SpreadsheetData readWorkbook(const QString& path) {
        SpreadsheetWriter spreadsheet;
        spreadsheet.ReadWorkbook(path, true);
        if (spreadsheet.Read_Sheet_Name().isEmpty())
            return {{"<no sheet>"}};
        spreadsheet.Excel_Sheet_Number = 1;
        spreadsheet.ReadData_only_column();
        return spreadsheet.ReadWorkbook(path, false);
    }

    TestDataHome home;
    ScriptedOperator op;
    std::shared_ptr<CampaignStore> store;
    InboxWindow window{op, home.folder};
    qint64 first = 0, second = 0;
};

TEST_F(InboxViewTest, FiltersSearchesAndReadsConversationsOfTwoCampaigns) {
    twoCampaigns();
    auto view = shown(window);
    window.startRefreshing();
    auto* table = view->findChild<QTableView*>();
    ASSERT_TRUE(spinUntil([&] { return table->model()->rowCount() == 4; }));
    EXPECT_EQ(listed(), (QStringList{"MyBank", "+447911123102", "+447911123101", "+447911123100"}));
    const auto cell = [&](int row, int column) {
        return table->model()->index(row, column).data().toString();
    };
    EXPECT_EQ(cell(2, 1), "STOP");
    EXPECT_EQ(cell(2, 3), "1");
    EXPECT_EQ(cell(2, 4), "Opted out");
    EXPECT_EQ(cell(3, 1), "Yes, \"interested\", call me after 5");
    EXPECT_TRUE(view->findChild<QLabel*>("inboxStatus")->text().contains("4 numbers; 4 unread replies"))
        << view->findChild<QLabel*>("inboxStatus")->text().toStdString();

    // The campaign choices: any, none, then each campaign with replies, newest first.
    auto* combo = view->findChild<QComboBox*>("campaignFilter");
    ASSERT_EQ(combo->count(), 4);
    EXPECT_TRUE(combo->itemText(2).startsWith(QStringLiteral("Campaign %1 (").arg(second)));
    emit combo->activated(3);
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"+447911123101", "+447911123100"}));
    emit combo->activated(1);
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"MyBank"}));
    emit combo->activated(0);
    readAgain();

    view->findChild<QLineEdit*>("inboxSearch")->setText("INTERESTED");
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"+447911123100"}));
    view->findChild<QLineEdit*>("inboxSearch")->setText("7911 123 102");
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"+447911123102"}));
    view->findChild<QLineEdit*>("inboxSearch")->clear();
    readAgain();
    for (QCheckBox* box : view->findChildren<QCheckBox*>())
        if (box->text() == "Opted out only")
            box->setChecked(true);
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"+447911123101"}));
    for (QCheckBox* box : view->findChildren<QCheckBox*>())
        if (box->text() == "Opted out only")
            box->setChecked(false);
    readAgain();

    // Opened: the campaign's message beside the reply, and the reply read.
    table->selectRow(rowOf("+447911123100"));
    readAgain();
    ASSERT_EQ(window.conversation().size(), 2);
    EXPECT_EQ(window.conversation().at(0).kind, ConversationEntry::Kind::Sent);
    const QString chat = view->findChild<QTextBrowser*>("conversation")->toPlainText();
    EXPECT_TRUE(chat.contains("Spring sale: 20% off")) << chat.toStdString();
    EXPECT_TRUE(chat.contains(QStringLiteral("Reply to campaign %1").arg(first))) << chat.toStdString();
    EXPECT_LT(chat.indexOf("Spring sale"), chat.indexOf("interested"));
    EXPECT_EQ(unreadOf("+447911123100"), 0);
    EXPECT_EQ(cell(rowOf("+447911123100"), 3), "");
    screenshot(*view, "inbox");

    // Unread on request, and it stays so while the window is open and reads again.
    click(*view, "Mark unread");
    readAgain();
    readAgain();
    EXPECT_EQ(unreadOf("+447911123100"), 1);
    EXPECT_EQ(window.selectedNumber(), "+447911123100");

    // Unread only: the conversation being read stays listed.
    for (QCheckBox* box : view->findChildren<QCheckBox*>())
        if (box->text() == "Unread only")
            box->setChecked(true);
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"MyBank", "+447911123102", "+447911123101", "+447911123100"}));
    table->selectRow(rowOf("MyBank"));
    readAgain();
    readAgain();
    EXPECT_EQ(listed(), (QStringList{"MyBank", "+447911123102", "+447911123101", "+447911123100"}));
    window.stopRefreshing();
    readAgain();
}

TEST_F(InboxViewTest, TheChosenNumberStaysChosenAsRepliesComeAndWhatTheWindowShowsIsRead) {
    twoCampaigns();
    auto view = shown(window);
    window.startRefreshing();
    auto* table = view->findChild<QTableView*>();
    ASSERT_TRUE(spinUntil([&] { return table->model()->rowCount() == 4; }));
    table->selectRow(rowOf("+447911123100"));
    readAgain();
    ASSERT_EQ(unreadOf("+447911123100"), 0);

    // Another number writes (it moves to the top), then the one being read writes again.
    reply("+447911123102", "Thanks");
    reply("+447911123100", "Still there?");
    ASSERT_TRUE(spinUntil([&] { return window.conversation().size() == 3; }));
    EXPECT_EQ(window.selectedNumber(), "+447911123100");
    const QModelIndexList chosen = table->selectionModel()->selectedRows();
    ASSERT_EQ(chosen.size(), 1);
    EXPECT_EQ(chosen.first().row(), rowOf("+447911123100"));
    EXPECT_EQ(unreadOf("+447911123100"), 0);
    EXPECT_EQ(unreadOf("+447911123102"), 2);
    EXPECT_EQ(listed().first(), "+447911123100");

    // Closed: what comes in stays unread.
    window.stopRefreshing();
    readAgain();
    reply("+447911123100", "Hello?");
    read();
    EXPECT_EQ(unreadOf("+447911123100"), 1);
}

TEST_F(InboxViewTest, OptsOutAndTakesBackAsTheStoreSeesIt) {
    twoCampaigns();
    auto view = shown(window);
    window.startRefreshing();
    auto* table = view->findChild<QTableView*>();
    ASSERT_TRUE(spinUntil([&] { return table->model()->rowCount() == 4; }));
    auto* optOut = view->findChild<QPushButton*>("optOutButton");

    table->selectRow(rowOf("MyBank")); // a name is never texted
    readAgain();
    EXPECT_FALSE(optOut->isEnabled());

    table->selectRow(rowOf("+447911123100"));
    readAgain();
    EXPECT_EQ(optOut->text(), "Opt out");
    optOut->click();
    EXPECT_TRUE(isOptedOut(*store, "+447911123100").value_or(false));
    readAgain();
    EXPECT_EQ(optOut->text(), "Take back");
    EXPECT_TRUE(window.conversationTitle().endsWith("opted out"));
    const std::optional<QList<OptOut>> optOuts = listOptOuts(*store);
    ASSERT_TRUE(optOuts);
    EXPECT_EQ(optOuts->first().how, kOptOutByOperator);

    // Taking back asks first; No leaves it.
    op.answerNo();
    optOut->click();
    EXPECT_EQ(op.questions().last(),
              "+447911123100 asked for no more messages. Take the opt-out back, so that "
              "campaigns text this number again?");
    EXPECT_TRUE(isOptedOut(*store, "+447911123100").value_or(false));
    op.answerYes();
    optOut->click();
    EXPECT_FALSE(isOptedOut(*store, "+447911123100").value_or(true));
    readAgain();
    EXPECT_EQ(optOut->text(), "Opt out");

    // The one who sent STOP, taken back by the operator.
    table->selectRow(rowOf("+447911123101"));
    readAgain();
    op.answerYes();
    click(*view, "Take back");
    EXPECT_FALSE(isOptedOut(*store, "+447911123101").value_or(true));
    window.stopRefreshing();
    readAgain();
    EXPECT_TRUE(op.alerts().isEmpty()) << op.alerts().join("|").toStdString();
}

TEST_F(InboxViewTest, ExportsTheFilteredRepliesAsCsvAndWorkbookReadBack) {
    ASSERT_TRUE(QFile::copy(QStringLiteral(BULKSMS_TEMPLATE_XLSX), home.resources() + "/Template.xlsx"));
    twoCampaigns();
    auto view = shown(window);
    read();
    ASSERT_EQ(listed().size(), 4);

    const QString csvPath = home.root() + "/replies";
    op.chooseFile(csvPath).onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
    click(*view, "Export...");
    const QByteArray csv = readAll(csvPath + ".csv");
    ASSERT_TRUE(csv.startsWith("\xEF\xBB\xBF")) << csv.toStdString();
    EXPECT_TRUE(csv.contains("\r\n"));
    const QList<QStringList> rows =
        NumberCandidates::parseCsv(QString::fromUtf8(csv.mid(3)), QLatin1Char(','));
    ASSERT_EQ(rows.size(), 5) << csv.toStdString();
    EXPECT_EQ(rows.at(0), inboxExportTitles());
    EXPECT_EQ(rows.at(0), (QStringList{"Received", "Number", "Campaign", "Message", "Opt-out", "Read"}));
    // Newest first: the bank, the formula-like text (made harmless), the STOP, the quoted one.
    EXPECT_EQ(rows.at(1).mid(1), (QStringList{"MyBank", "", "Code 1234", "No", "No"}));
    EXPECT_EQ(rows.at(2).mid(1), (QStringList{"+447911123102", QString::number(second),
                                              "'=HYPERLINK(\"http://x\")", "No", "No"}));
    EXPECT_EQ(rows.at(3).mid(1), (QStringList{"+447911123101", QString::number(first), "STOP", "Yes", "No"}));
    EXPECT_EQ(rows.at(4).at(3), "Yes, \"interested\", call me\nafter 5");
    EXPECT_TRUE(QDateTime::fromString(rows.at(4).at(0), "yyyy-MM-dd HH:mm:ss").isValid());

    // The campaign filter applies; a workbook by its extension.
    emit view->findChild<QComboBox*>("campaignFilter")->activated(3); // the first campaign
    readAgain();
    const QString xlsxPath = home.root() + "/replies.XLSX";
    op.chooseFile(xlsxPath).onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
    click(*view, "Export...");
    const SpreadsheetData sheet = readWorkbook(xlsxPath);
    ASSERT_EQ(sheet.size(), 3);
    EXPECT_EQ(sheet.at(0), inboxExportTitles());
    EXPECT_EQ(sheet.at(1).mid(1),
              (QStringList{"+447911123101", QString::number(first), "STOP", "Yes", "No"}));
    EXPECT_EQ(sheet.at(2).at(3), "Yes, \"interested\", call me\nafter 5");

    // Nothing passes: said, and no file asked for.
    window.setSearch("no such words");
    op.clearTranscript();
    click(*view, "Export...");
    EXPECT_EQ(op.alerts(), (QStringList{"\nThere are no replies to export."}));
    EXPECT_FALSE(QFileInfo::exists(home.root() + "/replies.csv.csv"));
}

TEST_F(InboxViewTest, TheMainWindowOpensTheInboxAndItsOptionsReachTheComposer) {
    twoCampaigns();
    ReceivedMessage part; // a long reply whose middle part never came
    part.device = "8944100000000000001";
    part.road = kGsmRoad;
    part.sender = "+447911123100";
    part.text = "I would like to know more about";
    part.partReference = 5;
    part.partTotal = 3;
    part.partsArrived = {1, 3};
    part.complete = false;
    part.sentAt = CampaignStore::now();
    ASSERT_TRUE(storeReceived(*store, part));

    Gsm_Bulk_Sms_Wnd gsm{op, home.folder};
    Bulk_SMSAppDelegate android{op, home.folder};
    MainWindows windows{android, gsm};
    DefaultCountry country;
    StoreWindows stores{op, home.folder, country};
    GsmBulkSmsView main{gsm, stores};
    gsm.windowDidLoad();
    main.show();
    QPushButton* inbox = button(main, "Inbox...");
    ASSERT_TRUE(inbox);
    screenshot(main, "main-window");

    op.onModal<InboxWindow>([&](InboxWindow& opened) {
        auto view = shown(opened);
        auto* table = view->findChild<QTableView*>();
        ASSERT_TRUE(spinUntil([&] { return table->model()->rowCount() == 4; }));
        EXPECT_EQ(table->model()->index(0, 1).data().toString(),
                  "I would like to know more about [incomplete]");
        table->selectRow(0);
        ASSERT_TRUE(spinUntil([&] { return opened.conversation().size() == 3; }));
        const QString chat = view->findChild<QTextBrowser*>("conversation")->toPlainText();
        EXPECT_TRUE(chat.contains("Incomplete: parts 1, 3 of 3 arrived, the rest did not."))
            << chat.toStdString();
        screenshot(*view, "inbox-incomplete");
        op.onModal<InboxOptions>([](InboxOptions& d) {
            d.footer = true;
            d.footerText = "Reply NO to stop";
            d.OKPressed();
        });
        click(*view, "Options...");
        click(*view, "Close");
    });
    inbox->click();
    // Its two replies read when it was opened: three others wait.
    EXPECT_EQ(inbox->text(), "Inbox (3)...");
    auto* footer = main.findChild<QCheckBox*>("footerCheck");
    ASSERT_TRUE(footer);
    EXPECT_TRUE(footer->isChecked());
    EXPECT_TRUE(footer->text().contains("Reply NO to stop")) << footer->text().toStdString();
}

TEST(InboxExportTest, CsvFieldsAreQuotedAsRfc4180AndFormulasDisarmed) {
    const struct {
        QString value, field;
    } cases[] = {
        {"plain", "plain"},
        {"a,b", "\"a,b\""},
        {"say \"hi\"", "\"say \"\"hi\"\"\""},
        {"two\nlines", "\"two\nlines\""},
        {"cr\rhere", "\"cr\rhere\""},
        {"=1+1", "'=1+1"},
        {"@SUM(A1)", "'@SUM(A1)"},
        {"-5 off", "'-5 off"},
        {"+447911123100", "+447911123100"}, // a number with its "+"
        {"+1 call me", "'+1 call me"},
        {"=A1,\"x\"", "\"'=A1,\"\"x\"\"\""},
        {"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(csvField(c.value), c.field) << c.value.toStdString();
}

TEST_F(InboxViewTest, OptionsAreCheckedKeptAndReadBack) {
    InboxOptions& options = window.options();
    op.onModal<InboxOptions>([&](InboxOptions& d) {
        auto dialog = shown(d);
        screenshot(*dialog, "inbox-options");
        dialog->findChild<QSpinBox*>("windowDays")->setValue(30);
        dialog->findChild<QPlainTextEdit*>("stopWords")->setPlainText("  remove me \nNO MORE\n\nremove me");
        for (QCheckBox* box : dialog->findChildren<QCheckBox*>())
            box->setChecked(true); // notification and footer
        d.footerText = "";
        d.OKPressed(); // the footer on without its text: told, and the dialog stays
        EXPECT_FALSE(d.isEnded());
        d.footerText = "Text STOP to end";
        d.OKPressed();
    });
    click(*shown(window), "Options...");
    EXPECT_EQ(op.alerts(), (QStringList{"\nType the footer's text, or turn the footer off."}));
    EXPECT_EQ(options.endCode(), 1);
    const ReplyOptions kept = readReplyOptions(home.folder);
    EXPECT_EQ(kept.windowDays, 30);
    EXPECT_EQ(kept.extraStopWords, (QStringList{"remove me", "NO MORE"}));
    EXPECT_TRUE(kept.notify);
    EXPECT_TRUE(kept.footer);
    EXPECT_EQ(kept.footerText, "Text STOP to end");

    // Opened again: what was kept. A stop word too long is told, not dropped.
    op.clearTranscript();
    op.onModal<InboxOptions>([&](InboxOptions& d) {
        EXPECT_EQ(d.windowDays, 30);
        EXPECT_EQ(d.stopWordsText, "remove me\nNO MORE");
        d.stopWordsText += "\n" + QString(41, 'x');
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        d.windowDays = 0;
        d.OKPressed();
        d.CancelPressed();
    });
    window.Options_Btn();
    ASSERT_EQ(op.alerts().size(), 2);
    EXPECT_TRUE(op.alerts().at(0).contains("40 characters at most")) << op.alerts().at(0).toStdString();
    EXPECT_EQ(op.alerts().at(1), "\nA reply answers a campaign for 1 to 365 days.");
    EXPECT_EQ(readReplyOptions(home.folder).extraStopWords, (QStringList{"remove me", "NO MORE"}));
}

TEST_F(InboxViewTest, ASettingsFileThatCannotBeWrittenIsToldAndTheDialogStaysOpen) {
    // A folder where the settings file goes: nothing can replace it.
    ASSERT_TRUE(QDir().mkpath(SettingsFile::path(home.folder)));
    op.onModal<InboxOptions>([&](InboxOptions& d) {
        d.windowDays = 3;
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        d.CancelPressed();
    });
    window.Options_Btn();
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().first().startsWith("\n" + errorInFileAccessing(SettingsFile::path(home.folder))))
        << op.alerts().first().toStdString();
}

TEST_F(InboxViewTest, AStoreThatRefusesIsShownInTheWindowNotPassedOffAsNoReplies) {
    CampaignStore::useDatabase("postgresql://nobody@127.0.0.1:1/none"); // nothing listens there
    InboxWindow refused(op, home.folder);
    auto view = shown(refused);
    refused.startRefreshing();
    spinUntil([] { return false; }, std::chrono::milliseconds(300)); // many reads at this clock
    refused.stopRefreshing();
    refused.waitForLoading();
    CampaignStore::useDatabase({});
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().first().startsWith("\n" + errorInFileAccessing("")))
        << op.alerts().first().toStdString();
    const QString status = view->findChild<QLabel*>("inboxStatus")->text();
    EXPECT_TRUE(status.startsWith("The replies could not be read: ")) << status.toStdString();
    EXPECT_TRUE(refused.conversations().isEmpty());
    screenshot(*view, "inbox-refused");
}

TEST_F(InboxViewTest, TheCampaignsWindowCountsEachCampaignsRepliesAndOptOuts) {
    twoCampaigns();
    Gsm_Bulk_Sms_Wnd gsm{op, home.folder};
    CampaignsWindow campaigns{gsm, gsm.carriedRun()};
    auto view = shown(campaigns);
    campaigns.refresh();
    campaigns.waitForLoading();
    const QStringList titles = CampaignsWindow::columnTitles();
    const int replies = int(titles.indexOf("Replies")), optOuts = int(titles.indexOf("Opt-outs"));
    ASSERT_GE(replies, 0);
    ASSERT_GE(optOuts, 0);
    auto* table = view->findChild<QTableView*>();
    ASSERT_EQ(table->model()->rowCount(), 2);
    const auto cell = [&](int row, int column) {
        return table->model()->index(row, column).data().toString();
    };
    EXPECT_EQ(cell(0, 0), QString::number(second));
    EXPECT_EQ((QStringList{cell(0, replies), cell(0, optOuts)}), (QStringList{"1", "0"}));
    EXPECT_EQ((QStringList{cell(1, replies), cell(1, optOuts)}), (QStringList{"2", "1"}));
    screenshot(*view, "campaigns-replies");

    campaigns.page().show(campaigns.campaigns().at(1));
    QStringList figures;
    for (const auto& row : campaigns.page().figures())
        for (const CampaignPage::Figure& f : row)
            figures << f.first + "=" + f.second;
    EXPECT_TRUE(figures.contains("Replies=2")) << figures.join(" ").toStdString();
    EXPECT_TRUE(figures.contains("Opt-outs=1"));
}

} // namespace
