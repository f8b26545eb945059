// The campaigns window over a real store in a temporary data folder: the list with its counts,
// a campaign's page, Cancel, Export and Resume. BULKSMS_SCREENSHOT_DIR, when set, receives a
// PNG of the window and of the page.
#include "StoredCampaigns.h"
#include "campaigns/CampaignOptions.h"
#include "campaigns/CampaignQueries.h"
#include "core/FileUtils.h"
#include "core/WallClock.h"
#include "sending/windows/CampaignsWindow.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SendLater.h"
#include "stores/windows/ExportDialogs.h"
#include "ui/ViewRegistry.h"

#include "ScriptedOperator.h"
#include "TestEnvironment.h"

#include <QDateTimeEdit>
#include <QDialog>
#include <QPushButton>
#include <QTableView>

#include <gtest/gtest.h>

namespace {

class CampaignsViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        ViewRegistry::registerStandardViews();
        ASSERT_TRUE(home.folder.Check_Path_And_Create_Files());
        store = CampaignStore::forFolder(home.folder, nullptr);
        ASSERT_TRUE(store);
    }
    // A GSM campaign of this folder over numbers 1..n: the first `done` of them sent, failed and
    // of unknown fate in turn by device A, the rest waiting.
    qint64 campaign(int n, int done) {
        QList<SendingItem> items;
        for (int i = 1; i <= n; ++i) {
            items.append(SendingItem{});
            items.last().number = QString::number(i);
            items.last().message = QStringLiteral("m%1").arg(i);
        }
        const qint64 id =
            createCampaign(*store, {CampaignStore::folderKey(home.folder), kGsmRoad, "{}", "queued"}, items);
        StoredRun run(store, {CampaignStore::folderKey(home.folder), "{}", 0, id});
        run.begin({}, kGsmRoad);
        const Outcome outcomes[] = {Outcome::Sent, Outcome::NotSent, Outcome::Unknown};
        for (int i = 0; i < done; ++i) {
            const auto claim = run.claimNext("A", false, {}, {}, true);
            EXPECT_TRUE(claim &&
                        run.finish(claim->index, SendOutcome::of(outcomes[i % 3]), "Done (A)", false));
        }
        run.end();
        return id;
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
    static void click(QWidget& view, const QString& text) {
        for (QPushButton* b : view.findChildren<QPushButton*>())
            if (b->text() == text) {
                ASSERT_TRUE(b->isEnabled()) << text.toStdString();
                b->click();
                return;
            }
        FAIL() << "no button " << text.toStdString();
    }
    static void screenshot(QWidget& view, const QString& name) {
        const QString dir = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (!dir.isEmpty())
            view.grab().save(dir + "/" + name + ".png");
    }

    TestDataHome home;
    ScriptedOperator op;
    std::shared_ptr<CampaignStore> store;
    Gsm_Bulk_Sms_Wnd gsm{op, home.folder};
    CampaignsWindow window{gsm, gsm.carriedRun()};
};

TEST_F(CampaignsViewTest, ListsCountsShowsThePageAndCancels) {
    auto view = shown(window);
    window.startRefreshing();
    const qint64 id = campaign(4, 3); // as a sender elsewhere moves it on
    auto* table = view->findChild<QTableView*>();
    const auto cell = [&](int column) { return table->model()->index(0, column).data().toString(); };
    ASSERT_TRUE(spinUntil([&] { return table->model()->rowCount() == 1 && cell(6) == "1"; }));
    EXPECT_EQ(cell(1), "sending");
    EXPECT_EQ(cell(2), "GSM");
    EXPECT_EQ((QStringList{cell(4), cell(5), cell(6), cell(7)}), (QStringList{"1", "1", "1", "4"}));
    table->selectRow(0);
    screenshot(*view, "campaigns");

    op.onModal<CampaignPage>([&](CampaignPage& page) {
        auto pageView = shown(page);
        ASSERT_TRUE(spinUntil([&] { return page.history().outcomes.size() == 3; }));
        EXPECT_EQ(page.history().devices.size(), 1);
        screenshot(*pageView, "campaign-page");
        page.Close_Btn();
    });
    click(*view, "Open...");
    EXPECT_EQ(window.page().id(), 0);

    op.answerYes();
    click(*view, "Cancel");
    EXPECT_EQ(
        op.questions().last(),
        QStringLiteral("Cancel campaign %1? Its recipients who were not sent yet will not be sent.").arg(id));
    EXPECT_EQ(op.alerts().last(),
              QStringLiteral("\nCampaign %1 cancelled: 1 recipient will not be sent.").arg(id));
    EXPECT_EQ(campaignSummary(*store, id)->state, "cancelled");
    EXPECT_TRUE(spinUntil([&] { return cell(1) == "cancelled"; }));
}

TEST_F(CampaignsViewTest, ExportsTheCampaignsItemsAsTheSendingReport) {
    campaign(3, 1);
    auto view = shown(window);
    read();
    view->findChild<QTableView*>()->selectRow(0);
    const QString report = home.root() + "/report";
    op.onModal<Status_Export_Option>([](Status_Export_Option& d) { d.OKPressed(); })
        .onModal<Export_Option>([](Export_Option& d) { d.OKPressed(); })
        .chooseFile(report)
        .onModal<Open_Export_Log>([](Open_Export_Log& d) { d.CancelPressed(); });
    click(*view, "Export...");
    const QString text = reportText(readAll(report + ".txt"));
    EXPECT_EQ(text.count("Number\t\t: "), 3);
    EXPECT_TRUE(text.contains("Number\t\t: 1\nMessage\t\t: m1\nCurrent Status\t: Done (A)\n"))
        << text.toStdString();
}

TEST_F(CampaignsViewTest, ResumesACampaignThatBrokeOffIntoTheGsmListButNotOneASenderHolds) {
    const qint64 id = campaign(3, 1); // its sender ended without finishing it
    auto view = shown(window);
    {
        StoredRun sender(store, {CampaignStore::folderKey(home.folder), "{}", 0, id});
        sender.begin({}, kGsmRoad);
        read();
        view->findChild<QTableView*>()->selectRow(0);
        EXPECT_FALSE(window.resumeEnabled());
    }
    read();
    view->findChild<QTableView*>()->selectRow(0);
    click(*view, "Resume");
    EXPECT_EQ(columnOf(gsm.list().records(), kNumberKey), (QStringList{"2", "3"}));
    EXPECT_TRUE(gsm.carriedRun().resuming());
    EXPECT_TRUE(window.isEnded());
}

TEST_F(CampaignsViewTest, AScheduledCampaignShowsItsTimeWhichChangesAndItCancels) {
    QList<SendingItem> items(2);
    items[0].number = "1";
    items[1].number = "2";
    const qint64 at = CampaignStore::now() + 3LL * 3600 * 1000;
    const qint64 id = createCampaign(
        *store, {CampaignStore::folderKey(home.folder), kGsmRoad, "{}", "queued", 0, at}, items);
    ASSERT_NE(id, 0);
    auto view = shown(window);
    read();
    auto* table = view->findChild<QTableView*>();
    const auto state = [&] { return table->model()->index(0, 1).data().toString(); };
    EXPECT_EQ(state(), "Scheduled for " + SendLater::timeText(at));
    table->selectRow(0);
    EXPECT_FALSE(window.resumeEnabled());
    screenshot(*view, "campaigns-scheduled");

    // Change time: the dialog opens at the campaign's time; a past one is refused, a later kept.
    const qint64 later = at + 24LL * 3600 * 1000;
    op.onModal<SendLater>([&](SendLater& d) {
        auto dialogView = shown(d);
        EXPECT_EQ(dialogView->findChild<QDateTimeEdit*>()->dateTime().toString("yyyy-MM-dd HH:mm"),
                  SendLater::timeText(at));
        screenshot(*dialogView, "send-later");
        d.setStartAt(QDateTime::fromMSecsSinceEpoch(CampaignStore::now() - 3600LL * 1000));
        d.OKPressed();
        EXPECT_FALSE(d.isEnded());
        dialogView->findChild<QDateTimeEdit*>()->setDateTime(QDateTime::fromMSecsSinceEpoch(later));
        d.OKPressed();
    });
    click(*view, "Change time...");
    EXPECT_TRUE(op.alerts().at(op.alerts().size() - 2).contains("has already passed"));
    EXPECT_EQ(op.alerts().last(),
              QStringLiteral("\nCampaign %1 is scheduled for %2.").arg(id).arg(SendLater::timeText(later)));
    EXPECT_EQ(campaignSummary(*store, id)->startAt / 60000, later / 60000);
    EXPECT_EQ(campaignSummary(*store, id)->state, "scheduled");
    EXPECT_TRUE(spinUntil([&] { return state() == "Scheduled for " + SendLater::timeText(later); }));

    op.answerYes();
    click(*view, "Cancel");
    EXPECT_EQ(op.alerts().last(),
              QStringLiteral("\nCampaign %1 cancelled: 2 recipients will not be sent.").arg(id));
    EXPECT_TRUE(spinUntil([&] { return state() == "cancelled"; }));
    EXPECT_FALSE(window.changeTimeEnabled());
}

TEST_F(CampaignsViewTest, AStoreThatRefusesEveryReadIsToldOnce) {
    CampaignStore::useDatabase("postgresql://nobody@127.0.0.1:1/none"); // nothing listens there
    window.startRefreshing();
    spinUntil([] { return false; }, std::chrono::milliseconds(300)); // many reads at this clock
    window.stopRefreshing();
    window.waitForLoading();
    CampaignStore::useDatabase({});
    ASSERT_EQ(op.alerts().size(), 1);
    EXPECT_TRUE(op.alerts().first().startsWith("\n" + errorInFileAccessing("")))
        << op.alerts().first().toStdString();
}

// A campaign with a send window tells in the list and on its page who waits for their hours
// (10:00 UTC: London is inside 09:00-20:00, New York is not); one without a window does not.
TEST_F(CampaignsViewTest, ACampaignWithASendWindowShowsWhoWaitsForIt) {
    qputenv("BULKSMS_FAKE_NOW", "2026-06-15T10:00:00Z");
    Clock::readNowFromEnvironment();
    RunSettings windowed;
    windowed.sendWindow = QStringLiteral("09:00-20:00");
    QList<SendingItem> items;
    for (const char* n : {"+12125550123", "+447400123456", "+12125550124"}) {
        items.append(SendingItem{});
        items.last().number = n;
        items.last().message = QStringLiteral("Good morning");
    }
    const qint64 id = createCampaign(
        *store, {CampaignStore::folderKey(home.folder), kGsmRoad, optionsOf(windowed), "queued"}, items);
    ASSERT_NE(id, 0);
    const qint64 plain = campaign(2, 0);
    const std::optional<CampaignSummary> summary = campaignSummary(*store, id);
    const std::optional<CampaignSummary> other = campaignSummary(*store, plain);
    auto view = shown(window);
    read();
    auto* table = view->findChild<QTableView*>();
    QStringList states;
    for (int row = 0; row < table->model()->rowCount(); ++row)
        states << table->model()->index(row, 1).data().toString();
    screenshot(*view, "campaigns-waiting");
    qunsetenv("BULKSMS_FAKE_NOW");
    Clock::readNowFromEnvironment();
    EXPECT_EQ(states,
              (QStringList{"sending", "queued, waiting for 09:00 in America/New_York (2 recipients)"}));
    ASSERT_TRUE(summary && other);
    EXPECT_EQ(summary->waitingText, "waiting for 09:00 in America/New_York (2 recipients)");
    EXPECT_EQ(other->waitingText, "");
    EXPECT_EQ(stateText(*summary), "queued, waiting for 09:00 in America/New_York (2 recipients)");
    EXPECT_EQ(stateText(*other), "sending"); // taken up by the helper's run, no window

    CampaignPage page;
    page.show(*summary);
    EXPECT_EQ(page.figures().at(0).at(0).second, stateText(*summary));
    auto pageView = shown(page);
    screenshot(*pageView, "campaign-page-waiting");
}

} // namespace
