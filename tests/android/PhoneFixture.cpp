#include "PhoneFixture.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"

#include <QFile>

void PhoneFixture::startPhones(const QList<sim::PhoneConfig>& phones, bool withApk) {
    server = std::make_unique<sim::AdbServer>(phones);
    ASSERT_TRUE(server->start(0));
    qputenv("ADB_SERVER_SOCKET", server->socketSpec().toUtf8());
    qputenv("HOME", QFile::encodeName(adbHome.path())); // adb keeps nothing of ours
    qunsetenv("ANDROID_SERIAL");
    if (withApk) {
        ASSERT_TRUE(writeFileAtomically(home.folder.Resource_Path() + QStringLiteral("/OstrelBulkSMS.apk"),
                                        "PK\x03\x04 companion app"));
    }
    home.folder.Check_Path_And_Create_Files();
}

void PhoneFixture::TearDown() {
    if (server)
        server->stop();
    qunsetenv("ADB_SERVER_SOCKET");
}

sim::PhoneConfig PhoneFixture::phone(const QString& serial) {
    sim::PhoneConfig config = sim::PhoneConfig::typical();
    config.serial = serial;
    return config;
}

QStringList PhoneFixture::sentMessages() const {
    QStringList messages;
    for (const QJsonObject& event : server->log().events(QStringLiteral("message")))
        messages << event.value(QStringLiteral("number")).toString() + QLatin1Char('|') +
                        event.value(QStringLiteral("text")).toString() + QLatin1Char('|') +
                        event.value(QStringLiteral("mode")).toString();
    return messages;
}

int PhoneFixture::injections() const { return int(server->log().events(QStringLiteral("injection")).size()); }
