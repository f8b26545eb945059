// The built `bulksms` against a data folder with symbolic links planted in it: each command
// names the link and refuses it, and the file or folder it points at keeps every byte and its
// mode; what an earlier version left open is narrowed at start.
#include "SenderFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class DataLinksCommandLineTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        startModems(1, behaviour, "35800000000004");
        ASSERT_TRUE(QDir().mkpath(elsewhere));
        write(outsideFile, "+447700900009\n");
        write(elsewhere + "/ExListIndex.OSTREL", "Staff\n");
        write(elsewhere + "/Staff.OSTREL", "+447700900009\n");
    }
    int run(const QStringList& arguments) {
        const auto process = start(arguments);
        EXPECT_TRUE(process->waitForFinished(120000));
        errors = QString::fromUtf8(process->readAllStandardError());
        return process->exitCode();
    }
    static void write(const QString& path, const QByteArray& bytes, mode_t mode = 0644) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        ASSERT_EQ(f.write(bytes), bytes.size());
        f.close();
        ::chmod(QFile::encodeName(path).constData(), mode);
    }
    static unsigned modeOf(const QString& path) {
        struct stat st {};
        return ::lstat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 07777 : 0;
    }
    static QByteArray read(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    // What lies outside the data folder, bytes and modes, as it must stay.
    QString outside() const {
        QString all;
        for (const QString& path :
             {outsideFile, elsewhere, elsewhere + "/ExListIndex.OSTREL", elsewhere + "/Staff.OSTREL"})
            all += path + QString::number(modeOf(path), 8) + QString::fromUtf8(read(path));
        return all + QDir(elsewhere).entryList(QDir::AllEntries | QDir::Hidden).join(',');
    }

    const QString root = home.path() + "/Ostrel Bulk SMS";
    const QString data = root + "/BULK_SMS_DATA";
    const QString outsideFile = home.path() + "/someone-elses.txt";
    const QString elsewhere = home.path() + "/elsewhere";
    const QString numbersFile = home.path() + "/optouts.txt";
    QString errors;
};

TEST_F(DataLinksCommandLineTest, EachCommandRefusesALinkInTheDataFolderAndLeavesWhatItPointsAt) {
    const QString report = home.path() + "/export.txt";
    const QStringList send = {"send", "--to", "+447700900001", "--to", "+447700900002", "--message", "Hi"};
    const struct {
        const char* what;
        QString link, target;
        QStringList arguments;
        int exitCode;
        int mostReceived;
    } cases[] = {
        {"an applied exclusion list", data + "/Exclusion/Staff.OSTREL", outsideFile,
         send + QStringList{"--exclusion"}, 4, 0},
        {"the exclusion folder", data + "/Exclusion", elsewhere, send + QStringList{"--exclusion"}, 4, 0},
        {"an older version's run journal", data + "/Run_Journal.jsonl", outsideFile, send, 4, 0},
        {"the campaign store", data + "/Campaigns.db", outsideFile, send, 4, 0},
        // The first message goes before its sent item is refused; the run stops there.
        {"the sent items", data + "/SentItem.OSTREL", outsideFile, send + QStringList{"--save-sent-items"}, 4,
         1},
        // A template is not kept: only the start-up check names the link; sending goes on.
        {"the templates", data + "/Templates.OSTREL", outsideFile, send + QStringList{"--save-templates"}, 0,
         2},
        {"the exported sent items",
         data + "/SentItem.OSTREL",
         outsideFile,
         {"sent-items", "--export", report},
         4,
         0},
        {"the exported templates",
         data + "/Templates.OSTREL",
         outsideFile,
         {"templates", "--export", report},
         4,
         0},
        {"an exclusion list imported into",
         data + "/Exclusion/Staff.OSTREL",
         outsideFile,
         {"exclusion", "import", numbersFile, "--list", "Staff"},
         4,
         0},
        {"an exclusion list shown",
         data + "/Exclusion/Staff.OSTREL",
         outsideFile,
         {"exclusion", "list"},
         4,
         0},
    };
    write(numbersFile, "+447700900003\n");
    const QString before = outside();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QDir(root).removeRecursively(); // links are removed, never followed
        ASSERT_TRUE(QDir().mkpath(data + "/Exclusion"));
        ::chmod(QFile::encodeName(data).constData(), 0755); // as an earlier version left them
        write(data + "/AppExclusion.OSTREL", "Staff\n");
        write(data + "/Exclusion/ExListIndex.OSTREL", "Staff\n");
        QDir(c.link).removeRecursively();
        ASSERT_EQ(::symlink(QFile::encodeName(c.target).constData(), QFile::encodeName(c.link).constData()),
                  0);
        const int had = received();

        EXPECT_EQ(run(c.arguments), c.exitCode) << errors.toStdString();
        EXPECT_TRUE(errors.contains("Error in file accessing.\n" + c.link +
                                    ": a symbolic link, which this program does not follow"))
            << errors.toStdString();
        EXPECT_LE(received() - had, c.mostReceived);
        EXPECT_EQ(outside(), before);
        EXPECT_EQ(modeOf(c.link) & 0777, 0777u); // still the link, not replaced
        EXPECT_EQ(modeOf(data), 0700u);          // narrowed at start, by every command
        EXPECT_EQ(modeOf(data + "/AppExclusion.OSTREL"), 0600u);
        EXPECT_FALSE(QFile::exists(report));
    }
}

} // namespace
