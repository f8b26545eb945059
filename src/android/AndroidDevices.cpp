#include "AndroidDevices.h"

#include "AdbRunner.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "device/DeviceRecord.h"

namespace {

const QString kHeader = QStringLiteral("List of devices attached");

bool holdsAnyState(const QString& text, bool withUnauthorized) {
    for (const char* state : {"device", "offline", "bootloader", "unauthorized"}) {
        if (!withUnauthorized && QLatin1String(state) == QLatin1String("unauthorized"))
            continue;
        if (text.contains(QLatin1String(state)))
            return true;
    }
    return false;
}

QString withoutDeviceWord(const QString& text) {
    QString line = text;
    line.remove(QStringLiteral("device"));
    return line.trimmed().toUpper();
}

QString getpropUnless(const QString& key, const std::function<bool()>& stop) {
    return Check_Command_Response_Is_Valid(
               ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("getprop"), key}, stop))
        .trimmed();
}

// A SIM state or operator value: a leading "," dropped, trimmed, a trailing "," dropped.
QString tidyListValue(QString value) {
    if (value.startsWith(QLatin1Char(',')))
        value.remove(0, 1);
    value = value.trimmed();
    if (value.endsWith(QLatin1Char(',')))
        value.chop(1);
    return value;
}

} // namespace

QString deviceListFromOutput(const QString& adbOutput, const QString& serialFilter) {
    QString list = adbOutput;
    const qsizetype header = list.indexOf(kHeader);
    if (header >= 0)
        list = list.mid(header + kHeader.size());
    list = list.trimmed();
    if (serialFilter.isEmpty())
        return list;
    QStringList kept;
    for (const QString& line : list.split(QLatin1Char('\n')))
        if (line.trimmed().section(QLatin1Char('\t'), 0, 0) == serialFilter)
            kept.append(line.trimmed());
    return kept.join(QLatin1Char('\n'));
}

QString Get_Android_Device_List(const PhoneQuery& query) {
    return deviceListFromOutput(ExecuteExternalFile({QStringLiteral("devices")}, query.stop),
                                query.serialFilter);
}

QString androidDeviceFromList(const QString& list) {
    const QString first = (list + QLatin1Char('\n')).section(QLatin1Char('\n'), 0, 0).trimmed();
    if (first.isEmpty())
        return {};
    return QStringLiteral("Android Device ") + withoutDeviceWord(first);
}

QString Get_Android_Device(const PhoneQuery& query) {
    return androidDeviceFromList(Get_Android_Device_List(query));
}

bool Check_More_Than_One_Android_Device(const QString& list) {
    const qsizetype lineBreak = list.indexOf(QLatin1Char('\n'));
    if (list.isEmpty() || lineBreak < 0)
        return false;
    return holdsAnyState(list.left(lineBreak), true) && holdsAnyState(list.mid(lineBreak + 1), true);
}

QString Get_Android_Device_Status(const PhoneQuery& query) {
    const QString list = Get_Android_Device_List(query);
    QString status;
    if (list.isEmpty()) {
        status = QStringLiteral("No device found.");
    } else if (list.contains(QLatin1String("device"))) {
        status = QStringLiteral("Connected:\n") + withoutDeviceWord(list);
        const auto setting = [&query](const char* key) {
            QString value =
                ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("settings"),
                                     QStringLiteral("get"), QStringLiteral("global"), QLatin1String(key)},
                                    query.stop)
                    .trimmed()
                    .toLower();
            return value.contains(QLatin1String("not found")) ? QStringLiteral("null") : value;
        };
        const QString maxCount = setting("sms_outgoing_check_max_count");
        if (maxCount != QLatin1String("null"))
            status += QStringLiteral("\n(") + maxCount + QStringLiteral(" / ") +
                      setting("sms_outgoing_check_interval") + QLatin1Char(')');
    } else {
        status = list.trimmed().toUpper() +
                 QStringLiteral("\nNot connected properly, Please reconnect your device.");
    }
    const qsizetype lineBreak = list.indexOf(QLatin1Char('\n'));
    if (lineBreak >= 0 && holdsAnyState(list.left(lineBreak), false) &&
        holdsAnyState(list.mid(lineBreak + 1), false))
        status += QStringLiteral("\n\n") + kMoreThanOnePhoneMessage;
    return QStringLiteral("Android device status:\n\n") + status;
}

Record propertyRow(const QString& label, const QString& value) {
    return Record{{kPortNameKey, label},
                  {kPortDetailKey, value},
                  {kPortStatusKey, QString()},
                  {kImeiKey, QString()},
                  {kDeviceTickedKey, QStringLiteral("0")}};
}

RecordList readDeviceProperties(const DataFolder& folder, const std::function<bool()>& stop) {
    const auto getprop = [&stop](const QString& key) { return getpropUnless(key, stop); };
    RecordList rows;
    const QString manufacturer = getprop(QStringLiteral("ro.product.manufacturer"));
    const QString model = getprop(QStringLiteral("ro.product.model"));
    const QString name = getprop(QStringLiteral("ro.product.name"));
    const QString release = getprop(QStringLiteral("ro.build.version.release"));
    const QString sdk = getprop(QStringLiteral("ro.build.version.sdk"));
    QString operatorName;
    for (const char* key : {"gsm.operator.alpha", "gsm.operator.alpha.1", "gsm.operator.alpha.2",
                            "gsm.sim.operator.alpha", "gsm.sim.operator.alpha.2"}) {
        operatorName = getprop(QLatin1String(key));
        if (!operatorName.isEmpty())
            break;
    }
    QString simState = getprop(QStringLiteral("gsm.sim.state"));
    for (const char* key : {"gsm.sim.state.1", "gsm.sim.state.2"}) {
        const QString more = getprop(QLatin1String(key));
        if (!more.isEmpty())
            simState += QStringLiteral("  ") + more;
    }

    // The values pass through the scratch "build.prop", one "query=value" line each, and are
    // read back line by line: a value adb garbled into an error reads as empty.
    const QString scratch = folder.Created_Resource_Path() + QStringLiteral("/build.prop");
    const QList<QPair<QString, QString>> lines = {
        {QStringLiteral("ro.product.manufacturer"), manufacturer},
        {QStringLiteral("ro.product.model"), model},
        {QStringLiteral("ro.product.name"), name},
        {QStringLiteral("ro.build.version.release"), release},
        {QStringLiteral("ro.build.version.sdk"), sdk},
        {QStringLiteral("gsm.sim.state"), simState.toUpper()},
        {QStringLiteral("gsm.operator.alpha"), operatorName.toUpper()},
    };
    QByteArray content;
    for (const auto& [key, value] : lines) {
        QString flat = value;
        flat.remove(QLatin1Char('\r'));
        flat.replace(QLatin1Char('\n'), QLatin1Char(' '));
        content += (QStringLiteral("shell getprop ") + key + QLatin1Char('=') + flat + QStringLiteral("\r\n"))
                       .toUtf8();
    }
    content += '\n';
    if (writeFileAtomically(scratch, content)) {
        PrivateFile file(scratch);
        QStringList values;
        if (file.open())
            for (const QString& line : QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n")))
                if (line.startsWith(QLatin1String("shell getprop ")))
                    values.append(Android_Device_Details(line));
        Delete_File(scratch);
        if (values.size() == lines.size()) {
            rows.append(propertyRow(QStringLiteral("Manufacturer"), values.at(0).toUpper()));
            rows.append(propertyRow(QStringLiteral("Model Number"), values.at(1).toUpper()));
            rows.append(propertyRow(QStringLiteral("Device Name"), values.at(2).toUpper()));
            rows.append(propertyRow(QStringLiteral("Android Version"), values.at(3)));
            rows.append(propertyRow(QStringLiteral("SDK (API) Version  "), values.at(4)));
            rows.append(propertyRow(QStringLiteral("Sim Status"), tidyListValue(values.at(5))));
            rows.append(propertyRow(QStringLiteral("Sim Operator"), tidyListValue(values.at(6))));
        }
    }
    QString serial =
        Check_Command_Response_Is_Valid(ExecuteExternalFile({QStringLiteral("get-serialno")}, stop))
            .trimmed();
    if (serial.isEmpty())
        serial = QStringLiteral("unknown");
    rows.append(propertyRow(QStringLiteral("Serial Number"), serial.toUpper()));
    return rows;
}

QString Get_Device_name_Detail(const RecordList& rows) {
    const auto value = [&](int row) { return rows.value(row).value(kPortDetailKey); };
    const auto label = [&](int row) { return rows.value(row).value(kPortNameKey); };
    QString name = value(1);
    if (label(2) == QLatin1String("Model Number")) {
        const QString model = value(2).trimmed();
        if (name.contains(model))
            name = model;
        else
            name += QLatin1Char(' ') + model;
    }
    return name.trimmed();
}

QString Sel_Dev_Detail_String_Creation(const RecordList& rows) {
    QString details = QStringLiteral("Model Details:\n---------------------------------------\n");
    const QString device = rows.value(0).value(kPortDetailKey);
    for (qsizetype i = 1; i + 1 < rows.size(); ++i) {
        const QString label = rows.at(i).value(kPortNameKey);
        QString value = rows.at(i).value(kPortDetailKey);
        if (label == QLatin1String("Manufacturer") && !device.isEmpty())
            value += QStringLiteral(", ") + device;
        details += label + QStringLiteral(" : ") + value + QLatin1Char('\n');
    }
    return details;
}
