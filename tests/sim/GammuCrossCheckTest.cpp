// An SMS tool written elsewhere talks to the virtual modem: if it can identify the modem and
// send through it, the modem answers as modems do and not only as our own code expects.
#include "sim/VirtualModem.h"

#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <memory>

#include <gtest/gtest.h>

namespace {

class GammuCrossCheck : public testing::Test {
protected:
    void SetUp() override {
        m_gammu = QStandardPaths::findExecutable(QStringLiteral("gammu"));
        if (m_gammu.isEmpty())
            GTEST_SKIP() << "gammu is not installed: cross-check skipped";
    }

    void startModem(const sim::ModemBehaviour& behaviour = {}) {
        m_modem = std::make_unique<sim::VirtualModem>(sim::ModemIdentity{}, behaviour);
        ASSERT_TRUE(m_modem->start());
        QFile rc(m_dir.filePath("gammurc"));
        ASSERT_TRUE(rc.open(QIODevice::WriteOnly));
        rc.write("[gammu]\ndevice = " + QFile::encodeName(m_modem->devicePath()) + "\nconnection = at\n");
    }

    // Runs gammu with the test's configuration; returns its output, "" when it failed.
    QString gammu(const QStringList& arguments) {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(m_gammu, QStringList{"-c", m_dir.filePath("gammurc")} + arguments);
        const bool finished = process.waitForFinished(60000);
        const QString output = QString::fromUtf8(process.readAll());
        EXPECT_TRUE(finished && process.exitCode() == 0) << arguments.join(' ').toStdString() << "\n"
                                                         << output.toStdString();
        return finished && process.exitCode() == 0 ? output : QString();
    }

    QString m_gammu;
    QTemporaryDir m_dir;
    std::unique_ptr<sim::VirtualModem> m_modem;
};

TEST_F(GammuCrossCheck, IdentifiesTheModem) {
    ASSERT_NO_FATAL_FAILURE(startModem());
    const QString output = gammu({"identify"});
    EXPECT_TRUE(output.contains(QStringLiteral("Virtual"))) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("VM-100"))) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("490154203237518"))) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("001010123456789"))) << output.toStdString();
}

TEST_F(GammuCrossCheck, SendsTextsTheModemDecodesExactly) {
    ASSERT_NO_FATAL_FAILURE(startModem());
    // gammu paces itself (about four seconds a run), so each run checks several things
    const QString longText = QStringLiteral("Long {text} with 5€ [and] ~escapes~ ").repeated(6);
    const struct {
        QStringList arguments;
        QString number;
        QString text;
        int parts;
        int dcs;
    } cases[] = {
        {{"+447700900556", "-autolen", "300", "-text", longText}, "+447700900556", longText, 2, 0},
        {{"07700900", "-unicode", "-flash", "-text", "Привет мир"}, "07700900", "Привет мир", 1, 0x18},
    };
    for (const auto& c : cases) {
        const qsizetype before = m_modem->received().size();
        gammu(QStringList{"sendsms", "TEXT"} + c.arguments);
        const QList<sim::ReceivedMessage> received = m_modem->received();
        ASSERT_EQ(received.size(), before + 1) << c.text.toStdString();
        const sim::ReceivedMessage& m = received.last();
        EXPECT_EQ(m.number, c.number);
        EXPECT_EQ(m.text, c.text);
        EXPECT_EQ(m.parts, c.parts) << c.text.toStdString();
        EXPECT_TRUE(m.complete);
        EXPECT_EQ(m.dcs & 0x1C, c.dcs & 0x1C) << c.text.toStdString(); // alphabet and class
        EXPECT_EQ(m.mode, QStringLiteral("PDU"));
    }
}

// A modem without PDU mode makes gammu fall back to text mode with its own choice of
// character set ("HEX" of GSM codes) and parameters.
TEST_F(GammuCrossCheck, FallsBackToTextModeOnATextOnlyModem) {
    sim::ModemBehaviour textOnly;
    textOnly.modes = sim::ModemBehaviour::Modes::TextOnly;
    ASSERT_NO_FATAL_FAILURE(startModem(textOnly));
    const QString text = QStringLiteral("Text mode {ok} @ 5€");
    gammu({"sendsms", "TEXT", "+447700900555", "-text", text});
    const QList<sim::ReceivedMessage> received = m_modem->received();
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.at(0).mode, QStringLiteral("TEXT"));
    EXPECT_EQ(received.at(0).number, QStringLiteral("+447700900555"));
    EXPECT_EQ(received.at(0).text, text);
}

// Messages the network delivers, read back by a reader written elsewhere: gammu lists the SIM
// (AT+CPMS, AT+CMGF=0, AT+CMGL=4) and decodes every PDU itself.
TEST_F(GammuCrossCheck, ReadsDeliveredMessagesWithTheirTextsAndSenders) {
    ASSERT_NO_FATAL_FAILURE(startModem());
    const QString sevenBit = QStringLiteral("Price 5€ [ok] {yes} ~^|\\");
    const QString emoji = QStringLiteral("Emoji 😀 and Ωμέγα");
    const QString longText = QStringLiteral("Part of a reply that runs on; ").repeated(13); // three parts
    m_modem->deliver(QStringLiteral("+447700900001"), sevenBit);
    m_modem->deliver(QStringLiteral("+447700900002"), emoji);
    sim::IncomingMessage scrambled;
    scrambled.from = QStringLiteral("07700900003");
    scrambled.text = longText;
    scrambled.outOfOrder = true;
    m_modem->deliver(scrambled);
    sim::IncomingMessage named;
    named.from = QStringLiteral("MyBank");
    named.text = QStringLiteral("Code 1234");
    m_modem->deliver(named);

    const QString output = gammu({"getallsms"});
    // Each message: a "Location" block of "Key : value" lines (a "part i of n" header among them
    // for a part), a blank line, the text, a blank line.
    static const QRegularExpression sender(QStringLiteral("Remote number\\s*: \"([^\"]*)\""));
    static const QRegularExpression part(QStringLiteral("part (\\d+) of (\\d+)\\n"));
    QMap<QString, QMap<int, QString>> bySender; // sender -> part number -> text
    QMap<QString, int> totals;
    for (const QString& location : output.split(QStringLiteral("\nLocation "))) {
        const QRegularExpressionMatch from = sender.match(location);
        const qsizetype textStart = location.indexOf(QStringLiteral("\n\n"));
        if (!from.hasMatch() || textStart < 0)
            continue;
        QString text = location.mid(textStart + 2).section(QStringLiteral("\n\n"), 0, 0);
        while (text.endsWith(u'\n')) // none of the texts ends in a line break
            text.chop(1);
        const QRegularExpressionMatch header = part.match(location.left(textStart + 1));
        bySender[from.captured(1)].insert(header.hasMatch() ? header.captured(1).toInt() : 1, text);
        totals[from.captured(1)] = header.hasMatch() ? header.captured(2).toInt() : 1;
    }
    ASSERT_EQ(bySender.keys(), (QStringList{"+447700900001", "+447700900002", "07700900003", "MyBank"}))
        << output.toStdString();
    EXPECT_EQ(bySender.value("+447700900001").value(1), sevenBit);
    EXPECT_EQ(bySender.value("+447700900002").value(1), emoji);
    EXPECT_EQ(bySender.value("MyBank").value(1), QStringLiteral("Code 1234"));
    EXPECT_EQ(totals.value("07700900003"), 3);
    const QStringList parts = bySender.value("07700900003").values(); // in part order
    ASSERT_EQ(parts.size(), 3) << output.toStdString();
    EXPECT_EQ(parts.join(QString()), longText);
}

} // namespace
