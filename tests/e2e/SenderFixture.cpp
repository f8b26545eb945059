#include "SenderFixture.h"

#include "campaigns/SqliteDatabase.h"

#include <QDir>
#include <QFileInfo>

#include "FullDisk.h"

void SenderFixture::startModems(int count, const sim::ModemBehaviour& behaviour, const QString& imeiStem) {
    for (int i = 0; i < count; ++i) {
        sim::ModemIdentity id;
        id.imei = imeiStem + QString::number(i);
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
        ASSERT_TRUE(modems.back()->start());
    }
}

QProcessEnvironment senderEnvironment(const QString& home, const QString& clockScale,
                                      const QStringList& modemPaths) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("BULKSMS_DATA_HOME", home);
    env.insert("BULKSMS_RESOURCES", home + "/resources");
    env.insert("BULKSMS_CLOCK_SCALE", clockScale);
    env.insert("BULKSMS_EXTRA_MODEMS", modemPaths.join(':'));
    // The ports' lock files stay in the test's home, never the machine's lock folder.
    QDir().mkpath(home + "/locks");
    env.insert("BULKSMS_LOCK_DIR", home + "/locks");
    return env;
}

QStringList runToEnd(const QProcessEnvironment& environment, const QStringList& arguments, int& exitCode,
                     QString& errors) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    exitCode = process.exitCode();
    errors = QString::fromUtf8(process.readAllStandardError());
    return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

QProcessEnvironment SenderFixture::environment(const QString& clockScale) const {
    QStringList paths;
    for (const auto& modem : modems)
        paths << modem->devicePath();
    return senderEnvironment(home.path(), clockScale, paths);
}

std::unique_ptr<QProcess> SenderFixture::start(const QStringList& arguments, qint64 fileSizeLimit,
                                               const QString& clockScale) {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment(clockScale));
    if (fileSizeLimit >= 0)
        limitFileSizeOfChild(*process, fileSizeLimit);
    process->start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
    EXPECT_TRUE(process->waitForStarted());
    return process;
}

int SenderFixture::timesReceived(const QString& number) const {
    int count = 0;
    for (const auto& modem : modems)
        for (const sim::ReceivedMessage& message : modem->received())
            count += message.number == number;
    return count;
}

int SenderFixture::received() const {
    int count = 0;
    for (const auto& modem : modems)
        count += int(modem->received().size());
    return count;
}

qint64 SenderFixture::storeSize() const {
    return QFileInfo(store()).size() + QFileInfo(store() + "-wal").size();
}

qint64 SenderFixture::largestStoreFile() const {
    return std::max(QFileInfo(store()).size(), QFileInfo(store() + "-wal").size());
}

namespace {

QList<SqlRow> rowsOf(const QString& store, const QString& sql) {
    QList<SqlRow> rows;
    QString why;
    if (!QFileInfo::exists(store))
        return rows;
    if (const std::unique_ptr<SqliteDatabase> db = SqliteDatabase::open(store, &why))
        db->exec(sql, {}, &rows);
    return rows;
}

} // namespace

bool SenderFixture::unfinishedRunLeft() const {
    return !rowsOf(store(), "SELECT 1 FROM campaigns WHERE state = 'sending'").isEmpty();
}

QSet<QString> SenderFixture::handedOver() const {
    QSet<QString> numbers;
    for (const SqlRow& row : rowsOf(store(), "SELECT DISTINCT i.number FROM events e JOIN items i"
                                             " ON i.campaign = e.campaign AND i.position = e.position"
                                             " WHERE e.state = 'sending'"))
        numbers.insert(row.value(0).toString());
    return numbers;
}
