// The dashboard as a browser shows it: the real `bulksms serve`, a campaign made through the API
// and sent by a worker through a virtual modem, and headless Chromium reading the page with the
// token it was handed; what the page rendered is read back from its DOM.
#include "SenderFixture.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/Replies.h"
#include "core/DataFolder.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>

namespace {

struct Answer {
    int status = 0;
    QString headers; // as sent, lines "Name: value"
    QByteArray body;
};

// A request with the real curl; the status line and headers are split from the body.
Answer curl(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("curl"), QStringList{"-s", "-S", "-D", "-", "--max-time", "20"} + arguments);
    EXPECT_TRUE(process.waitForFinished(30000));
    const QByteArray out = process.readAllStandardOutput();
    const qsizetype end = out.indexOf("\r\n\r\n");
    Answer answer;
    if (end < 0)
        return answer;
    answer.headers = QString::fromLatin1(out.left(end));
    answer.body = out.mid(end + 4);
    answer.status = answer.headers.section(QLatin1Char(' '), 1, 1).toInt();
    return answer;
}

// The element that starts with `opening` up to the first `closing` after it: "" when absent.
QString part(const QString& dom, const QString& opening, const QString& closing) {
    const qsizetype from = dom.indexOf(opening);
    if (from < 0)
        return {};
    const qsizetype to = dom.indexOf(closing, from);
    return to < 0 ? dom.mid(from) : dom.mid(from, to - from + closing.size());
}

class DashboardTest : public SenderFixture {
protected:
    void SetUp() override {
        chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
        if (chromium.isEmpty())
            GTEST_SKIP() << "chromium is not installed (scripts/install-deps installs it)";
        ASSERT_TRUE(profile.isValid());
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        startModems(1, behaviour, "35800000000021");
        int exitCode = -1;
        QString errors;
        token = runToEnd(environment(), {"token", "create", "dashboard"}, exitCode, errors).value(0);
        ASSERT_EQ(exitCode, 0) << errors.toStdString();
        ASSERT_FALSE(token.isEmpty());
        server = start({"serve", "--listen", "127.0.0.1:0"});
        QByteArray said;
        const QRegularExpression listening(QStringLiteral("Listening on (http://127\\.0\\.0\\.1:\\d+)"));
        for (int waited = 0; waited < 30000 && !listening.match(QString::fromUtf8(said)).hasMatch();
             waited += 50) {
            server->waitForReadyRead(50);
            said += server->readAllStandardError();
        }
        base = listening.match(QString::fromUtf8(said)).captured(1);
        ASSERT_FALSE(base.isEmpty()) << said.constData();
    }
    void TearDown() override {
        if (server) {
            server->terminate();
            EXPECT_TRUE(server->waitForFinished(30000));
        }
    }

    // The page as Chromium rendered it once its fetches were answered, with a profile (and so a
    // local storage) kept across the calls of one test.
    QString render(const QString& address) {
        QProcess browser;
        browser.start(chromium, {"--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                                 "--no-first-run", "--user-data-dir=" + profile.path(),
                                 "--virtual-time-budget=5000", "--dump-dom", address});
        EXPECT_TRUE(browser.waitForFinished(45000));
        if (browser.state() != QProcess::NotRunning) {
            browser.kill();
            browser.waitForFinished();
        }
        return QString::fromUtf8(browser.readAllStandardOutput());
    }
    void screenshot(const QString& address) {
        const QString folder = qEnvironmentVariable("BULKSMS_SCREENSHOT_DIR");
        if (folder.isEmpty())
            return;
        QProcess browser;
        browser.start(chromium, {"--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                                 "--no-first-run", "--user-data-dir=" + profile.path(), "--hide-scrollbars",
                                 "--virtual-time-budget=5000", "--window-size=1280,800",
                                 "--screenshot=" + folder + "/dashboard.png", address});
        browser.waitForFinished(45000);
    }

    // People answer: `count` replies, the last one the newest, kept as a worker keeps them.
    void reply(int count, const QString& newest) {
        qputenv("BULKSMS_DATA_HOME", home.path().toLocal8Bit());
        QString why;
        const std::shared_ptr<CampaignStore> campaigns =
            CampaignStore::forFolder(DataFolder::fromEnvironment(), &why);
        qunsetenv("BULKSMS_DATA_HOME");
        ASSERT_TRUE(campaigns) << why.toStdString();
        for (int i = 1; i <= count; ++i) {
            ReceivedMessage message;
            message.device = QStringLiteral("358000000000210");
            message.road = QStringLiteral("gsm");
            message.sender = QStringLiteral("+447400123456");
            message.text = i == count ? newest : QStringLiteral("Reply %1").arg(i);
            message.sentAt = 1'790'000'000'000 + qint64(i) * 1000;
            ASSERT_TRUE(storeReceived(*campaigns, message, {}, &why)) << why.toStdString();
        }
    }

    QString chromium, token, base;
    QTemporaryDir profile;
    std::unique_ptr<QProcess> server;
};

TEST_F(DashboardTest, ShowsASentCampaignItsMessagesAndTheDevicesWithTheTokenItWasHanded) {
    // A text that would be markup if the page took it as such: it must stay text.
    const QString text = QStringLiteral("<img src=x id=injected> Hello");
    const Answer made =
        curl({"-X", "POST", "-H", "Authorization: Bearer " + token, "-H", "Content-Type: application/json",
              "--data-binary",
              QString::fromUtf8(
                  QJsonDocument(QJsonObject{{"recipients", QJsonArray{"+447400123456", "+447400123457"}},
                                            {"text", text}})
                      .toJson(QJsonDocument::Compact)),
              base + "/v1/campaigns"});
    ASSERT_EQ(made.status, 201) << made.body.constData();
    const qint64 id = QJsonDocument::fromJson(made.body).object().value("id").toInteger();
    int exitCode = -1;
    QString errors;
    runToEnd(environment(), {"worker", "--until-idle"}, exitCode, errors);
    ASSERT_EQ(exitCode, 0) << errors.toStdString();
    ASSERT_EQ(received(), 2);
    EXPECT_EQ(timesReceived("+447400123456"), 1);
    reply(25, QStringLiteral("<img src=y id=answer> Yes please"));

    const QString dom = render(base + "/#token=" + token);
    ASSERT_FALSE(dom.isEmpty());
    EXPECT_TRUE(dom.contains(QLatin1String("<div id=\"board\">"))) << "the board is not shown";
    const QRegularExpression rowOf(QStringLiteral("<tr data-id=\"%1\"[^>]*>(.*?)</tr>").arg(id),
                                   QRegularExpression::DotMatchesEverythingOption);
    const QString row = rowOf.match(dom).captured(1);
    ASSERT_FALSE(row.isEmpty()) << "no row for campaign " << id << "\n" << dom.toStdString();
    EXPECT_TRUE(row.contains(QLatin1String(">finished<"))) << row.toStdString();
    EXPECT_TRUE(row.contains(QLatin1String(">2 sent<"))) << row.toStdString();
    EXPECT_TRUE(row.contains(QLatin1String("0 queued of 2"))) << row.toStdString();

    // The newest campaign's messages are shown until another is picked: both numbers, sent.
    const QString items = part(dom, QStringLiteral("<section id=\"items\""), QStringLiteral("</section>"));
    EXPECT_TRUE(items.contains(QLatin1String(">+447400123456<"))) << items.toStdString();
    EXPECT_TRUE(items.contains(QLatin1String(">+447400123457<"))) << items.toStdString();
    EXPECT_EQ(items.count(QLatin1String(">sent<")), 2) << items.toStdString();
    EXPECT_TRUE(items.contains(QLatin1String("&lt;img src=x id=injected&gt; Hello"))) << items.toStdString();
    EXPECT_FALSE(dom.contains(QLatin1String("<img"))) << "a message's text became markup";
    EXPECT_FALSE(items.contains(QLatin1String("id=\"cancel\" type=\"button\" class=\"danger\">")))
        << "a finished campaign offers Cancel";

    // Devices and replies: shown when the server offers them, said to be missing otherwise.
    const QString devices =
        part(dom, QStringLiteral("<section id=\"devices\""), QStringLiteral("</section>"));
    if (curl({"-H", "Authorization: Bearer " + token, base + "/v1/devices"}).status == 200) {
        // The worker told the store about its modem as it stopped.
        EXPECT_TRUE(devices.contains(QLatin1String("<tr class=\"device\">"))) << devices.toStdString();
        EXPECT_TRUE(devices.contains(">" + modems.front()->devicePath() + "<")) << devices.toStdString();
    } else
        EXPECT_TRUE(devices.contains(QLatin1String("Not available"))) << devices.toStdString();
    const QString replies =
        part(dom, QStringLiteral("<section id=\"replies\""), QStringLiteral("</section>"));
    if (curl({"-H", "Authorization: Bearer " + token, base + "/v1/inbox"}).status == 200) {
        // The newest twenty, newest first: the reply with markup in it, shown as text, then 24 to 6.
        const qsizetype newest = replies.indexOf(QLatin1String("&lt;img src=y id=answer&gt; Yes please"));
        EXPECT_GE(newest, 0) << replies.toStdString();
        EXPECT_LT(newest, replies.indexOf(QLatin1String(">Reply 24<"))) << replies.toStdString();
        EXPECT_LT(replies.indexOf(QLatin1String(">Reply 24<")), replies.indexOf(QLatin1String(">Reply 6<")));
        EXPECT_FALSE(replies.contains(QLatin1String(">Reply 5<"))) << "more than the newest twenty";
        EXPECT_EQ(replies.count(QLatin1String("<tr class=\"unread\">")), 20) << replies.toStdString();
    } else
        EXPECT_TRUE(replies.contains(QLatin1String("Not available"))) << replies.toStdString();

    // The token was kept: the page loaded again without it still shows the campaign.
    EXPECT_TRUE(rowOf.match(render(base + "/")).hasMatch()) << "the token was not kept";
    screenshot(base + "/");
}

TEST_F(DashboardTest, ATokenTheServerRefusesAsksForAnotherAndIsForgotten) {
    const QString dom = render(base + "/#token=bsms_not-a-token");
    EXPECT_TRUE(dom.contains(QLatin1String("The token was refused (401): The token is not known.")))
        << dom.toStdString();
    EXPECT_TRUE(dom.contains(QLatin1String("<div id=\"board\" hidden=\"\">"))) << dom.toStdString();
    EXPECT_TRUE(dom.contains(QLatin1String("<section id=\"token-panel\" class=\"panel\">")))
        << dom.toStdString();
    // Forgotten: the next load asks for a token without trying the refused one again.
    const QString again = render(base + "/");
    EXPECT_TRUE(again.contains(QLatin1String("<section id=\"token-panel\" class=\"panel\">")))
        << again.toStdString();
    EXPECT_FALSE(again.contains(QLatin1String("was refused"))) << again.toStdString();
}

TEST_F(DashboardTest, ThePageRunsOnlyItsOwnFilesAndNeedsNoToken) {
    const Answer page = curl({base + "/"});
    ASSERT_EQ(page.status, 200);
    EXPECT_TRUE(page.headers.contains(QLatin1String("Content-Type: text/html; charset=utf-8")));
    EXPECT_TRUE(page.headers.contains(QLatin1String("Content-Security-Policy: default-src 'self';")))
        << page.headers.toStdString();
    EXPECT_TRUE(page.headers.contains(QLatin1String("script-src 'self';"))) << page.headers.toStdString();
    // No inline script the policy would block, and nothing fetched from elsewhere.
    EXPECT_FALSE(page.body.contains("<script>"));
    EXPECT_FALSE(page.body.contains("http://"));
    EXPECT_FALSE(page.body.contains("https://"));
    for (const auto& [path, type] :
         {std::pair{"/dashboard.js", "text/javascript"}, std::pair{"/dashboard.css", "text/css"}}) {
        const Answer file = curl({base + path});
        EXPECT_EQ(file.status, 200) << path;
        EXPECT_TRUE(file.headers.contains(QStringLiteral("Content-Type: %1").arg(type))) << path;
        EXPECT_GT(file.body.size(), 1000) << path;
    }
    // The script never turns data into markup.
    EXPECT_FALSE(curl({base + "/dashboard.js"}).body.contains("innerHTML"));
}

} // namespace
