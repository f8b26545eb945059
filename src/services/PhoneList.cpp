#include "PhoneList.h"

#include "android/AndroidDevices.h"

namespace {

// adb's commands go to one phone while this lives (ANDROID_SERIAL); the variable is as it was
// afterwards.
class AdbPointedAt {
public:
    explicit AdbPointedAt(const QString& serial)
        : m_had(qEnvironmentVariableIsSet("ANDROID_SERIAL")), m_before(qgetenv("ANDROID_SERIAL")) {
        qputenv("ANDROID_SERIAL", serial.toLocal8Bit());
    }
    ~AdbPointedAt() {
        if (m_had)
            qputenv("ANDROID_SERIAL", m_before);
        else
            qunsetenv("ANDROID_SERIAL");
    }
    AdbPointedAt(const AdbPointedAt&) = delete;
    AdbPointedAt& operator=(const AdbPointedAt&) = delete;

private:
    bool m_had;
    QByteArray m_before;
};

} // namespace

QList<ListedPhone> listPhones(const DataFolder& folder, const QString& serial) {
    QList<ListedPhone> phones;
    const QString list = Get_Android_Device_List(PhoneQuery{serial, {}});
    for (const QString& entry : list.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        ListedPhone phone{entry.trimmed().section(QLatin1Char('\t'), 0, 0),
                          entry.trimmed().section(QLatin1Char('\t'), 1).trimmed(),
                          {}};
        if (phone.state == QLatin1String("device")) {
            const AdbPointedAt pointed(phone.serial);
            phone.properties = readDeviceProperties(folder);
        }
        phones.append(phone);
    }
    return phones;
}
