#include "PhoneList.h"

#include "android/AdbRunner.h"
#include "android/AndroidDevices.h"

QList<ListedPhone> listPhones(const DataFolder& folder, const QString& serial) {
    QList<ListedPhone> phones;
    const QString list = Get_Android_Device_List(PhoneQuery{serial, {}});
    for (const QString& entry : list.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        ListedPhone phone{entry.trimmed().section(QLatin1Char('\t'), 0, 0),
                          entry.trimmed().section(QLatin1Char('\t'), 1).trimmed(),
                          {}};
        if (phone.state == QLatin1String("device")) {
            const AdbTarget target(phone.serial);
            phone.properties = readDeviceProperties(folder);
        }
        phones.append(phone);
    }
    return phones;
}
