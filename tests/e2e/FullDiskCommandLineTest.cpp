// The command line on a full disk: `bulksms` runs with a file size limit smaller than what it
// has to write. A file that was there keeps its content, standard error names the file and the
// reason, the exit status is 4, and nothing claims a success that did not happen.
#include "FullDisk.h"
#include "sim/VirtualModem.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>

namespace {

class FullDiskCommandLineTest : public ::testing::Test {
protected:
    int run(const QStringList& arguments, qint64 sizeLimit, const QString& modem = {}) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("BULKSMS_DATA_HOME", home.path());
        env.insert("BULKSMS_RESOURCES", QStringLiteral(BULKSMS_RESOURCES_DIR));
        env.insert("BULKSMS_CLOCK_SCALE", "0.2");
        if (!modem.isEmpty())
            env.insert("BULKSMS_EXTRA_MODEMS", modem);
        process.setProcessEnvironment(env);
        limitFileSizeOfChild(process, sizeLimit);
        process.start(QStringLiteral(BULKSMS_EXECUTABLE), arguments);
        EXPECT_TRUE(process.waitForFinished(120000));
        output = QString::fromUtf8(process.readAllStandardOutput());
        errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    // Writes the old file, runs, and checks what the operator and the file show.
    void expectNotWritten(const QString& file, const QStringList& arguments, qint64 sizeLimit,
                          const QString& modem = {}) {
        const QString target = home.filePath(file);
        const QByteArray old = "last week's " + file.toUtf8() + ", which must survive\n";
        QFile f(target);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(old) == old.size());
        f.close();
        EXPECT_EQ(run(arguments + QStringList{target}, sizeLimit, modem), 4) << errors.toStdString();
        EXPECT_TRUE(errors.contains("Error in file accessing.\n" + target + ": File too large"))
            << errors.toStdString();
        EXPECT_FALSE(output.contains("written to")) << output.toStdString();
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        EXPECT_EQ(f.readAll(), old);
        EXPECT_EQ(QDir(home.path()).entryList({"." + file + "*"}, QDir::Files | QDir::Hidden), QStringList{});
    }

    QTemporaryDir home;
    QString output, errors;
};

TEST_F(FullDiskCommandLineTest, AnExportThatDoesNotFitKeepsTheOldFile) {
    QByteArray sent, templates;
    for (int i = 0; i < 50; ++i) {
        sent += "\a+44770090" + QByteArray::number(1000 + i) +
                "\vMessage\a01/02/2025\vMessage sent successfully.\n";
        templates += "Template number " + QByteArray::number(i) + "\n";
    }
    const QString data = home.path() + "/Ostrel Bulk SMS/BULK_SMS_DATA/";
    ASSERT_TRUE(QDir().mkpath(data));
    for (const auto& [name, bytes] :
         {std::pair{"SentItem.OSTREL", sent}, std::pair{"Templates.OSTREL", templates}}) {
        QFile f(data + name);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size());
    }
    // Room for the program's own files, none for any of the exports.
    for (const QString file : {"sent.txt", "sent.html", "sent.xlsx"})
        expectNotWritten(file, {"sent-items", "--export"}, 1024);
    for (const QString file : {"templates.txt", "templates.html", "templates.xlsx"})
        expectNotWritten(file, {"templates", "--export"}, 1024);
}

TEST_F(FullDiskCommandLineTest, ATestReportThatDoesNotFitIsNotClaimed) {
    sim::ModemBehaviour behaviour;
    behaviour.networkDelayMs = 0;
    behaviour.modes = sim::ModemBehaviour::Modes::TextOnly;
    sim::VirtualModem modem(sim::ModemIdentity{}, behaviour);
    ASSERT_TRUE(modem.start());
    expectNotWritten("report.txt",
                     {"test-device", "--device", modem.devicePath(), "--to", "+447700900555", "--report"},
                     256, modem.devicePath());
    EXPECT_TRUE(output.contains("Message sent successfully."))
        << output.toStdString(); // the cases still print
}

} // namespace
