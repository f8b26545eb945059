// The HTTP API as another program meets it: `bulksms worker --serve` on a virtual modem, a
// message posted with curl goes out once and the campaign says so; TLS with a certificate of
// the operator's; and an address other computers reach refused without it.
#include "SenderFixture.h"
#include "WebhookReceiver.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageAuthenticationCode>
#include <QRegularExpression>
#include <QThread>

#include <csignal>

namespace {

class ApiServeTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        behaviour.statusReportDelayMs = 50;
        startModems(1, behaviour, "35800000000021");
        int exitCode = -1;
        QString errors;
        token = runToEnd(environment(), {"token", "create", "shop"}, exitCode, errors).value(0);
        ASSERT_EQ(exitCode, 0) << errors.toStdString();
        ASSERT_TRUE(token.startsWith("bsms_"));
    }
    void TearDown() override {
        if (server) {
            ::kill(pid_t(server->processId()), SIGINT);
            EXPECT_TRUE(server->waitForFinished(30000));
            EXPECT_EQ(server->exitCode(), 0) << server->readAllStandardError().toStdString();
        }
    }
    // Starts the program with the arguments; the address it listens on, or "" when it did not.
    QString serve(const QStringList& arguments, QProcessEnvironment env = {}) {
        server = std::make_unique<QProcess>();
        server->setProcessEnvironment(env.isEmpty() ? environment() : env);
        server->start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(server->waitForStarted());
        static const QRegularExpression listening(QStringLiteral("Listening on (\\S+)"));
        for (int waited = 0; waited < 20000; waited += 20) {
            errors += QString::fromUtf8(server->readAllStandardError());
            if (const QRegularExpressionMatch m = listening.match(errors); m.hasMatch())
                return m.captured(1);
            if (server->state() == QProcess::NotRunning)
                return {};
            server->waitForReadyRead(20);
        }
        return {};
    }
    QByteArray curl(const QStringList& arguments) {
        QProcess c;
        c.start("curl",
                QStringList{"-s", "--max-time", "20", "-H", "Authorization: Bearer " + token} + arguments);
        EXPECT_TRUE(c.waitForFinished(30000));
        return c.readAllStandardOutput();
    }
    QJsonObject getJson(const QString& url, const QStringList& more = {}) {
        return QJsonDocument::fromJson(curl(more + QStringList{url})).object();
    }

    QString token, errors;
    std::unique_ptr<QProcess> server;
};

TEST_F(ApiServeTest, AMessagePostedWithCurlGoesOutOnceThroughTheWorkersModem) {
    const QString address = serve({"worker", "--serve", "--listen", "127.0.0.1:0"});
    ASSERT_FALSE(address.isEmpty()) << errors.toStdString();
    const QJsonObject made =
        QJsonDocument::fromJson(
            curl({"-H", "Idempotency-Key: k1", "-d",
                  R"({"to":"+447400123456","text":"Hi","options":{"delivery_reports":true}})",
                  address + "/v1/messages"}))
            .object();
    const qint64 id = made.value("id").toInteger();
    ASSERT_GT(id, 0) << QJsonDocument(made).toJson().toStdString();
    // The client timed out and sends again: the same campaign, never a second message.
    EXPECT_EQ(QJsonDocument::fromJson(
                  curl({"-H", "Idempotency-Key: k1", "-d",
                        R"({"to":"+447400123456","text":"Hi","options":{"delivery_reports":true}})",
                        address + "/v1/messages"}))
                  .object()
                  .value("id")
                  .toInteger(),
              id);
    const QString campaign = address + QStringLiteral("/v1/campaigns/%1").arg(id);
    QJsonObject state;
    for (int waited = 0; waited < 30000; waited += 100) {
        state = getJson(campaign);
        if (state.value("state") == "finished")
            break;
        QThread::msleep(100);
    }
    ASSERT_EQ(state.value("state").toString(), "finished") << QJsonDocument(state).toJson().toStdString();
    EXPECT_EQ(state.value("counts").toObject().value("sent").toInteger(), 1);
    ASSERT_EQ(received(), 1);
    EXPECT_EQ(modems.front()->received().front().number, "+447400123456");
    EXPECT_EQ(modems.front()->received().front().text, "Hi");
    const QJsonArray items = getJson(campaign + "/items").value("items").toArray();
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items.at(0).toObject().value("state").toString(), "sent");
    EXPECT_EQ(items.at(0).toObject().value("refs").toArray().size(), 1);
}

// The whole way another program goes: a webhook registered, one message posted, and the
// receiver (down for its first two tries) hears once, signed and in order, that it was sent and
// then delivered.
TEST_F(ApiServeTest, AReceiverHearsSignedOnceAndInOrderThatTheMessageWasSentThenDelivered) {
    Receiver receiver(2);
    // The program's clock from now on runs as fast as its waits are shrunk: the receiver's
    // retries come after seconds of its time, not of the test's.
    QProcessEnvironment fast = environment();
    fast.insert("BULKSMS_FAKE_NOW", QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    const QString address = serve({"worker", "--serve", "--listen", "127.0.0.1:0"}, fast);
    ASSERT_FALSE(address.isEmpty()) << errors.toStdString();
    const QByteArray secret = "the-shops-webhook-secret";
    const QJsonObject hook =
        QJsonDocument::fromJson(
            curl({"-d",
                  QJsonDocument(QJsonObject{{"url", receiver.url()},
                                            {"events", QJsonArray{"sms:sent", "sms:delivered", "sms:failed"}},
                                            {"secret", QString::fromLatin1(secret)}})
                      .toJson(),
                  address + "/v1/webhooks"}))
            .object();
    ASSERT_GT(hook.value("id").toInteger(), 0) << QJsonDocument(hook).toJson().toStdString();
    curl({"-d", R"({"to":"+447400123456","text":"Your table is ready","options":{"delivery_reports":true}})",
          address + "/v1/messages"});

    for (int waited = 0; waited < 60000 && receiver.accepted().size() < 2; waited += 50)
        QThread::msleep(50);
    const QList<Arrival> accepted = receiver.accepted();
    ASSERT_EQ(accepted.size(), 2) << errors.toStdString();
    EXPECT_EQ(accepted.at(0).event, "sms:sent");
    EXPECT_EQ(accepted.at(1).event, "sms:delivered");
    EXPECT_NE(accepted.at(0).eventId, accepted.at(1).eventId);
    for (const Arrival& a : accepted) {
        QMessageAuthenticationCode mac(QCryptographicHash::Sha256, secret);
        mac.addData(a.timestamp.toUtf8() + "." + a.body);
        EXPECT_EQ(a.signature, "sha256=" + QString::fromLatin1(mac.result().toHex()))
            << a.event.toStdString();
        const QJsonObject data = QJsonDocument::fromJson(a.body).object().value("data").toObject();
        EXPECT_EQ(data.value("to").toString(), "+447400123456");
    }
    // The two refused tries were of the first event, tried again; nothing came twice after.
    QThread::msleep(300);
    const QList<Arrival> all = receiver.arrivals();
    ASSERT_EQ(all.size(), 4);
    EXPECT_EQ(all.at(0).eventId, all.at(2).eventId);
    EXPECT_EQ(all.at(1).eventId, all.at(2).eventId);
    EXPECT_EQ(received(), 1);
}

TEST_F(ApiServeTest, TlsServesWithTheOperatorsCertificateAndOtherAddressesNeedIt) {
    const QString cert = home.filePath("cert.pem"), key = home.filePath("key.pem");
    QProcess openssl;
    openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                              "/CN=localhost", "-keyout", key, "-out", cert});
    ASSERT_TRUE(openssl.waitForFinished(60000));
    ASSERT_EQ(openssl.exitCode(), 0) << openssl.readAllStandardError().toStdString();

    // Other computers reach 0.0.0.0: not without TLS, unless the operator says so.
    int exitCode = -1;
    QString why;
    runToEnd(environment(), {"serve", "--listen", "0.0.0.0:0"}, exitCode, why);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(why.contains("--tls-cert")) << why.toStdString();
    runToEnd(environment(), {"serve", "--listen", "nowhere:80"}, exitCode, why);
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(why.contains("--listen takes")) << why.toStdString();

    const QString address = serve({"serve", "--listen", "0.0.0.0:0", "--tls-cert", cert, "--tls-key", key});
    ASSERT_TRUE(address.startsWith("https://")) << errors.toStdString();
    const QString port = address.section(':', -1);
    const QStringList trusted{"--cacert", cert, "--resolve", "localhost:" + port + ":127.0.0.1"};
    EXPECT_TRUE(getJson("https://localhost:" + port + "/v1/campaigns", trusted).contains("campaigns"));
    // A client that does not trust the certificate gets nothing.
    EXPECT_TRUE(curl({"https://127.0.0.1:" + port + "/v1/campaigns"}).isEmpty());
    // Plain HTTP to the TLS port gets no answer.
    EXPECT_TRUE(curl({"http://127.0.0.1:" + port + "/v1/campaigns"}).isEmpty());
}

} // namespace
