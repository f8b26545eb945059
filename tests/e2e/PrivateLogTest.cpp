// Whole runs of `bulksms send` keep the people's numbers and messages out of syslog and the
// journal, in text mode and in PDU mode; the traffic goes to the troubleshooting log instead,
// private to the user (0600), and stays there through the data-file operations of later
// commands; standard error gets the log only with --verbose.
//
// The syslog catcher: glibc's syslog() sends each line as a datagram to the unix socket
// /dev/log (journald's or rsyslog's), which only root could replace. strace sees every connect
// and send of the run and of its threads instead, root or not (ptrace of one's own child; a
// seccomp filter stops the run on those system calls only). Each connect is answered
// "connected" without being made (injected), so that what syslog() would send shows in full even
// where there is no /dev/log (a container), and nothing of a failing run reaches a real journal;
// the runs under test connect to nothing else (their modems are serial lines). A program that
// does call syslog() is caught first, or the catch proves nothing.
#include "SenderFixture.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

struct Outcome {
    int exitCode = -1;
    QString out, err;
    QByteArray caught; // what the syslog catcher saw (connects and sends), "" when not caught
};

// Not "" when strace cannot run here: the reason to skip.
QString catcherUnavailable() {
    if (QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty())
        return QStringLiteral("strace is not installed (scripts/install-deps installs it)");
    QProcess probe;
    probe.start(QStringLiteral("strace"), {"-qq", "-e", "trace=none", "true"});
    if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
        return QStringLiteral("strace cannot trace a child here: ") +
               QString::fromLocal8Bit(probe.readAllStandardError()).trimmed();
    return {};
}

// "+447700900421" as an SMS-SUBMIT carries it: digit pairs swapped, an odd count padded with F.
QString semiOctets(const QString& number) {
    QString digits = number;
    digits.remove(QLatin1Char('+'));
    if (digits.size() % 2)
        digits += QLatin1Char('F');
    for (qsizetype i = 0; i + 1 < digits.size(); i += 2)
        std::swap(digits[i], digits[i + 1]);
    return digits;
}

// Text of the GSM alphabet's ASCII part (letters, digits, space) packed 7 bits a character,
// least significant bit first, in hexadecimal: the user data of a 7-bit PDU.
QString septetsHex(const QByteArray& ascii) {
    QByteArray packed;
    unsigned bits = 0, count = 0;
    for (const char c : ascii) {
        bits |= unsigned(c & 0x7F) << count;
        count += 7;
        for (; count >= 8; count -= 8, bits >>= 8)
            packed.append(char(bits & 0xFF));
    }
    if (count > 0)
        packed.append(char(bits & 0xFF));
    return QString::fromLatin1(packed.toHex().toUpper());
}

// UTF-16 big-endian in hexadecimal: the user data of a Unicode (UCS-2) PDU.
QString ucs2Hex(const QString& text) {
    QString hex;
    for (const QChar c : text)
        hex += QStringLiteral("%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
    return hex;
}

class PrivateLogTest : public SenderFixture {
protected:
    void SetUp() override {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0; // both modes
        startModems(1, behaviour, QStringLiteral("35840000000042"));
    }

    QString logPath() const { return home.path() + "/Ostrel Bulk SMS/Troubleshooting_Log.txt"; }
    QByteArray readLog() const {
        QFile log(logPath());
        return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
    }
    unsigned logPermissions() const {
        struct stat st {};
        return ::stat(QFile::encodeName(logPath()).constData(), &st) == 0 ? st.st_mode & 07777 : 0;
    }

    // Runs program, under the syslog catcher when asked.
    Outcome run(const QString& program, const QStringList& arguments, bool caught = false) {
        Outcome result;
        QProcess process;
        QProcessEnvironment env = environment();
        QString executable = program;
        QStringList all = arguments;
        const QString capture = home.path() + "/caught.strace";
        if (caught) {
            QFile::remove(capture);
            executable = QStringLiteral("strace");
            all = QStringList{"-f",
                              "--seccomp-bpf",
                              "-qq",
                              "-s",
                              "1048576",
                              "-e",
                              "trace=connect,sendto,sendmsg,sendmmsg",
                              "-e",
                              "inject=connect:retval=0",
                              "-o",
                              capture,
                              "--",
                              program} +
                  arguments;
            // LeakSanitizer (of an address-sanitized build) cannot work in a traced process.
            const QString asan = env.value("ASAN_OPTIONS");
            env.insert("ASAN_OPTIONS", (asan.isEmpty() ? QString() : asan + ":") + "detect_leaks=0");
        }
        process.setProcessEnvironment(env);
        process.start(executable, all);
        EXPECT_TRUE(process.waitForFinished(180000)) << program.toStdString();
        result.exitCode = process.exitCode();
        result.out = QString::fromUtf8(process.readAllStandardOutput());
        result.err = QString::fromUtf8(process.readAllStandardError());
        if (caught) {
            QFile file(capture);
            EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << result.err.toStdString();
            result.caught = file.readAll();
        }
        return result;
    }
    Outcome send(const QStringList& arguments, bool caught = false) {
        return run(QStringLiteral(BULKSMS_EXECUTABLE), arguments, caught);
    }
};

TEST_F(PrivateLogTest, NoNumberAndNoMessageTextReachesSyslogInTextOrPduMode) {
    if (const QString why = catcherUnavailable(); !why.isEmpty())
        GTEST_SKIP() << why.toStdString();
    const QStringList numbers = {"+447700900421", "+49151234567"}; // an even and an odd count of digits
    // The catcher catches: a program that gives these to syslog() is seen doing it.
    const Outcome probe =
        run(QStringLiteral(BULKSMS_SYSLOG_PROBE),
            {"NSLOG : Write (5) \"AT+CMGS=\"" + numbers.at(0) + "\"\"", semiOctets(numbers.at(1))}, true);
    ASSERT_EQ(probe.exitCode, 0) << probe.err.toStdString();
    ASSERT_TRUE(probe.caught.contains("/dev/log")) << probe.caught.constData();
    ASSERT_TRUE(probe.caught.contains("AT+CMGS=\\\"" + numbers.at(0).toLatin1())) << probe.caught.constData();
    ASSERT_TRUE(probe.caught.contains(semiOctets(numbers.at(1)).toLatin1())) << probe.caught.constData();

    const QString device = modems.at(0)->devicePath();
    const struct {
        const char* name;
        QString settings;
        QStringList options;
        QString text;
        QString encodedText; // as the modem gets it
    } cases[] = {
        {"text mode", ",mode=text", {}, "Meet at the north gate 7pm", "Meet at the north gate 7pm"},
        {"PDU mode, 7-bit",
         ",mode=pdu",
         {},
         "Bring the blue folder at noon",
         septetsHex("Bring the blue folder at noon")},
        {"PDU mode, Unicode",
         ",mode=pdu",
         {"--unicode"},
         "Call Dr Ames about results",
         ucs2Hex("Call Dr Ames about results")},
    };
    int sent = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const qsizetype logBefore = QFile(logPath()).size();
        const Outcome send = this->send(QStringList{"send", "--to", numbers.at(0), "--to", numbers.at(1),
                                                    "--message", c.text, "--device", device + c.settings} +
                                            c.options,
                                        true);
        ASSERT_EQ(send.exitCode, 0) << send.err.toStdString() << send.out.toStdString();
        sent += 2;
        ASSERT_EQ(received(), sent);
        for (const QString& number : numbers)
            EXPECT_EQ(timesReceived(number), sent / 2);
        EXPECT_EQ(modems.at(0)->received().last().text, c.text);

        // What went over the line, in the form it went: the number as written in text mode, its
        // semi-octets in PDU mode, and the text as typed or as its PDU's user data.
        const bool pdu = c.settings == ",mode=pdu";
        QStringList traffic{c.encodedText};
        for (const QString& number : numbers)
            traffic << (pdu ? semiOctets(number) : number);
        const QByteArray logged = readLog().mid(logBefore);
        for (const QString& form : traffic) // the traffic is in the log, so these forms are the real ones...
            EXPECT_TRUE(logged.contains(form.toUtf8())) << form.toStdString() << "\n"
                                                        << logged.right(4000).constData();
        // ...and none of it, in any form, reaches syslog: not even a connection to it is tried.
        QStringList secrets = traffic;
        for (const QString& number : numbers)
            secrets << number << semiOctets(number) << number.mid(1);
        secrets << c.text << septetsHex(c.text.toLatin1()) << ucs2Hex(c.text);
        EXPECT_FALSE(send.caught.contains("/dev/log")) << send.caught.left(4000).constData();
        for (const QString& secret : secrets)
            EXPECT_FALSE(send.caught.contains(secret.toUtf8())) << secret.toStdString();
        // Nor does standard error get the log without --verbose.
        EXPECT_FALSE(send.err.contains("NSLOG")) << send.err.toStdString();
        EXPECT_FALSE(send.err.contains("AT+CMGS")) << send.err.toStdString();
    }
}

TEST_F(PrivateLogTest, TheTroubleshootingLogIsPrivateAndOutlivesDataFileOperations) {
    // A log an earlier version left open to others.
    ASSERT_TRUE(QDir().mkpath(home.path() + "/Ostrel Bulk SMS"));
    {
        QFile earlier(logPath());
        ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
        earlier.write("from an earlier run\n");
    }
    ASSERT_EQ(::chmod(QFile::encodeName(logPath()).constData(), 0644), 0);

    const Outcome sending = send({"send", "--to", "+447700900421", "--message", "Secret plan", "--device",
                                  modems.at(0)->devicePath() + ",mode=text"});
    ASSERT_EQ(sending.exitCode, 0) << sending.err.toStdString();
    const QByteArray afterSending = readLog();
    EXPECT_TRUE(afterSending.startsWith("from an earlier run\n"));
    EXPECT_TRUE(afterSending.contains("AT+CMGS=\"+447700900421\"")) << afterSending.constData();
    EXPECT_TRUE(afterSending.contains("Secret plan"));
    EXPECT_EQ(logPermissions(), 0600u);

    // Later commands go through the data files: the log keeps every byte.
    for (const QStringList& command :
         {QStringList{"sent-items", "--export", home.path() + "/sent.txt"},
          QStringList{"templates", "--export", home.path() + "/templates.txt"}}) {
        SCOPED_TRACE(command.join(' ').toStdString());
        const Outcome other = send(command);
        EXPECT_EQ(other.exitCode, 0) << other.err.toStdString();
        EXPECT_TRUE(readLog().startsWith(afterSending));
        EXPECT_EQ(logPermissions(), 0600u);
    }
}

TEST_F(PrivateLogTest, StandardErrorGetsTheLogOnlyWithVerbose) {
    const QStringList arguments = {"send",
                                   "--to",
                                   "+447700900421",
                                   "--message",
                                   "Hi",
                                   "--device",
                                   modems.at(0)->devicePath() + ",mode=text"};
    const Outcome quiet = send(arguments);
    ASSERT_EQ(quiet.exitCode, 0) << quiet.err.toStdString();
    EXPECT_FALSE(quiet.err.contains("NSLOG")) << quiet.err.toStdString();
    const Outcome verbose = send(arguments + QStringList{"--verbose"});
    ASSERT_EQ(verbose.exitCode, 0) << verbose.err.toStdString();
    EXPECT_TRUE(verbose.err.contains("NSLOG : Write")) << verbose.err.toStdString();
    EXPECT_TRUE(verbose.err.contains("+447700900421")) << verbose.err.toStdString();
}

} // namespace
