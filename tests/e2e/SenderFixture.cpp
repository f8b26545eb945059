#include "SenderFixture.h"

#include "FullDisk.h"

void SenderFixture::startModems(int count, const sim::ModemBehaviour& behaviour, const QString& imeiStem) {
    for (int i = 0; i < count; ++i) {
        sim::ModemIdentity id;
        id.imei = imeiStem + QString::number(i);
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
        ASSERT_TRUE(modems.back()->start());
    }
}

QProcessEnvironment SenderFixture::environment(const QString& clockScale) const {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("BULKSMS_DATA_HOME", home.path());
    env.insert("BULKSMS_RESOURCES", home.path() + "/resources");
    env.insert("BULKSMS_CLOCK_SCALE", clockScale);
    QStringList paths;
    for (const auto& modem : modems)
        paths << modem->devicePath();
    env.insert("BULKSMS_EXTRA_MODEMS", paths.join(':'));
    return env;
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
