#include "TestEnvironment.h"

#include "core/DataFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QStringDecoder>
#include <QThread>

#include <gtest/gtest.h>

#include <sys/stat.h>

TestDataHome::TestDataHome() : folder(dataHome(), resources()) {
    QDir(m_dir.path()).mkpath(QStringLiteral("data"));
    QDir(m_dir.path()).mkpath(QStringLiteral("resources"));
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(dataHome()));
    qputenv("BULKSMS_RESOURCES", QFile::encodeName(resources()));
    folder.adoptForProcess();
}

TestDataHome::~TestDataHome() {
    qunsetenv("BULKSMS_DATA_HOME");
    qunsetenv("BULKSMS_RESOURCES");
}

QString TestDataHome::dataHome() const { return m_dir.path() + QStringLiteral("/data"); }
QString TestDataHome::resources() const { return m_dir.path() + QStringLiteral("/resources"); }

bool spinUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeout.count())
            return condition();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

unsigned permissionsOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return 0;
    return st.st_mode & 07777;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

void selectModem(DeviceSelection& selection, const QString& path, const QString& mode) {
    selection.port_val_str_array << path;
    selection.port_det_str_array << Record{{"PORT_DETAL", path},         {"COM_PORT", path.mid(8)},
                                           {"Model", "VM-100"},          {"SMSMode", mode},
                                           {"UseCusSMSC", "N"},          {"CusSMSC", ""},
                                           {"DefSMSC", "+447700900123"}, {"SMS_CAPABLE", "Yes"}};
    selection.sel_port_name_str = path.mid(8);
    selection.sel_port_bsd_str = path;
}

QStringList columnOf(const RecordList& records, const QString& key) {
    QStringList out;
    for (const Record& record : records)
        out << record.value(key);
    return out;
}

QString reportText(const QByteArray& bytes) {
    EXPECT_TRUE(bytes.startsWith("\xEF\xBB\xBF")) << "no UTF-8 byte-order mark at the start";
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = utf8(bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes);
    EXPECT_FALSE(utf8.hasError()) << "not UTF-8";
    EXPECT_EQ(text.count(QChar(QChar::ByteOrderMark)), 0) << "a byte-order mark inside";
    return text;
}
