// The reading of replies outside runs, against virtual modems: what lay on the SIM and what
// arrives meanwhile is kept once and freed on the SIM only once kept (the network's log says
// so, not only our table); a store that refuses leaves every message on the SIM; a stop in the
// middle of a pass loses nothing and leaves the port free at once.
#include "services/ReplyReader.h"

#include "TestEnvironment.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "services/ModemCheck.h"
#include "services/ModemOpeners.h"
#include "sim/MessageLog.h"
#include "sim/VirtualModem.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

sim::IncomingMessage reply(const QString& from, const QString& text) {
    sim::IncomingMessage message;
    message.from = from;
    message.text = text;
    return message;
}

class ReplyReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::setScale(0.02); // a pass a little over a second apart; read time-outs the modem meets
        QString why;
        store = CampaignStore::forFolder(home.folder, &why);
        ASSERT_TRUE(store) << why.toStdString();
    }
    void TearDown() override {
        reader.reset();
        modem.reset();
        Clock::setScale(0.001);
    }

    void startModem(const QList<sim::IncomingMessage>& onTheSim,
                    const std::function<void(sim::ModemBehaviour&)>& more = {}) {
        sim::ModemIdentity id;
        id.imei = "356000000000777";
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        behaviour.simMessagesAtStart = onTheSim;
        if (more)
            more(behaviour);
        log = logDir.filePath("modem.jsonl");
        modem = std::make_unique<sim::VirtualModem>(id, behaviour, log);
        ASSERT_TRUE(modem->start());
    }
    void startReading() {
        reader = std::make_unique<ReplyReader>(
            store,
            ReplyReader::Listener{
                [this](const ReplyReader::Reply& r) { told << r.message.sender + " " + r.message.text; },
                [this](const QString& device, const QString& why) { refusals << device + ": " + why; },
                [this](const QString& device, const QString& why) { unreadable << device + ": " + why; }});
        ModemDetails details;
        details.mode = SmsMode::Pdu;
        details.simKey = "imei:356000000000777";
        reader->start(modemOpeners({{modem->devicePath(), details}}, {}), kGsmRoad, {});
    }

    int events(const QString& kind) const {
        int count = 0;
        for (const QJsonObject& event : sim::MessageLog::readEvents(log))
            count += event.value("event").toString() == kind ? 1 : 0;
        return count;
    }
    QStringList kept() const {
        QString why;
        const std::optional<QList<ReceivedRow>> rows = listReceived(*store, {}, &why);
        EXPECT_TRUE(rows) << why.toStdString();
        QStringList out;
        for (const ReceivedRow& row : rows.value_or(QList<ReceivedRow>()))
            out << row.message.sender + " " + row.message.text;
        out.sort();
        return out;
    }
    // The store refuses to keep messages of this text (as a full disk would refuse them).
    bool refuseReplies(const QString& text) {
        return store->write([text](SqlDatabase& db) {
            return db.exec(
                text.isEmpty()
                    ? QStringLiteral("DROP TRIGGER no_room")
                    : QStringLiteral("CREATE TRIGGER no_room BEFORE INSERT ON received WHEN NEW.text = "
                                     "'%1' BEGIN SELECT RAISE(ABORT, 'database or disk is full'); END")
                          .arg(text));
        });
    }

    TestDataHome home;
    QTemporaryDir logDir;
    QString log;
    std::shared_ptr<CampaignStore> store;
    std::unique_ptr<sim::VirtualModem> modem;
    std::unique_ptr<ReplyReader> reader;
    QStringList told, refusals, unreadable;
};

TEST_F(ReplyReaderTest, WhatTheSimHeldAndWhatArrivesIsKeptOnceAndFreedOnTheSim) {
    startModem({reply("+447700900001", "Thanks!"), reply("+447700900002", "STOP"),
                reply("+447700900003", "Who is this?")});
    startReading();
    ASSERT_TRUE(spinUntil([&] { return told.size() == 3; })) << told.join('\n').toStdString();
    // Arrives between two passes: the next one reads it.
    modem->deliver("+447700900004", "Later \U0001F600");
    ASSERT_TRUE(spinUntil([&] { return told.size() == 4; })) << told.join('\n').toStdString();
    // A few more passes over the emptied SIM tell nothing again.
    spinUntil([] { return false; }, std::chrono::milliseconds(3000));
    reader->stop();

    const QStringList wanted{"+447700900001 Thanks!", "+447700900002 STOP", "+447700900003 Who is this?",
                             "+447700900004 Later \U0001F600"};
    EXPECT_EQ(kept(), wanted);
    told.sort();
    EXPECT_EQ(told, wanted);
    EXPECT_TRUE(refusals.isEmpty()) << refusals.join('\n').toStdString();
    EXPECT_TRUE(unreadable.isEmpty()) << unreadable.join('\n').toStdString();
    // The network's side: each message delivered once, each place freed once.
    EXPECT_EQ(events("delivered"), 1); // only the one that arrived while it ran (the rest lay there)
    EXPECT_EQ(events("deleted"), 4);
    // The reader let the port go: a run may open it at once.
    EXPECT_TRUE(ModemCheck::answers(modem->devicePath()));
}

TEST_F(ReplyReaderTest, WhatTheStoreRefusedStaysOnTheSimUntilItIsKept) {
    startModem({reply("+447700900011", "Yes please"), reply("+447700900012", "No thanks"),
                reply("+447700900013", "Maybe")});
    ASSERT_TRUE(refuseReplies("No thanks"));
    startReading();
    // Told why, pass after pass; only what was kept before the refusal is let go on the SIM.
    ASSERT_TRUE(spinUntil([&] { return refusals.size() >= 2; })) << refusals.join('\n').toStdString();
    EXPECT_TRUE(refusals.first().startsWith(modem->devicePath() + ": ")) << refusals.first().toStdString();
    EXPECT_TRUE(refusals.first().contains("disk is full")) << refusals.first().toStdString();
    EXPECT_EQ(kept(), QStringList{"+447700900011 Yes please"});
    EXPECT_EQ(told, QStringList{"+447700900011 Yes please"}); // once, however often it was read
    EXPECT_EQ(events("deleted"), 1);

    // Room again: the next pass keeps the rest and frees their places.
    ASSERT_TRUE(refuseReplies({}));
    ASSERT_TRUE(spinUntil([&] { return told.size() == 3 && events("deleted") == 3; }));
    EXPECT_EQ(kept(),
              (QStringList{"+447700900011 Yes please", "+447700900012 No thanks", "+447700900013 Maybe"}));
}

// Each pass opens the modem afresh, and a modem that refuses to list its messages says so
// afresh: the owner hears it once, and nothing is deleted.
TEST_F(ReplyReaderTest, AModemThatCannotBeReadIsToldOnce) {
    startModem({reply("+447700900021", "Hello")}, [](sim::ModemBehaviour& b) {
        b.scriptedAnswers.insert("AT+CMGL=4", "\r\n+CMS ERROR: 321\r\n");
    });
    startReading();
    spinUntil([] { return false; }, std::chrono::milliseconds(3000)); // two passes or more
    reader->stop();
    ASSERT_EQ(unreadable.size(), 1) << unreadable.join('\n').toStdString();
    EXPECT_TRUE(unreadable.first().startsWith(
        modem->devicePath() + ": Replies are not read: the modem refused to list its messages"))
        << unreadable.first().toStdString();
    EXPECT_TRUE(unreadable.first().contains("321")) << unreadable.first().toStdString();
    EXPECT_TRUE(told.isEmpty());
    EXPECT_EQ(events("deleted"), 0);
}

TEST_F(ReplyReaderTest, AStopInTheMiddleOfAPassLosesNothingAndTheNextReadingFinishes) {
    QList<sim::IncomingMessage> full;
    for (int i = 0; i < 25; ++i)
        full << reply(QStringLiteral("+4477009001%1").arg(10 + i), QStringLiteral("Answer %1").arg(i));
    startModem(full);
    startReading();
    ASSERT_TRUE(spinUntil([&] { return !told.isEmpty(); }));
    reader->stop(); // as a run is about to start
    // Whatever was freed on the SIM was kept, and whatever was kept was freed.
    EXPECT_EQ(events("deleted"), kept().size());
    EXPECT_TRUE(ModemCheck::answers(modem->devicePath())); // the port is free at once

    // Read again after the run: the rest comes in, nothing twice.
    startReading();
    ASSERT_TRUE(spinUntil([&] { return events("deleted") == 25; }, std::chrono::seconds(20)))
        << events("deleted");
    reader->stop();
    EXPECT_EQ(kept().size(), 25);
    EXPECT_EQ(told.size(), 25);
}

} // namespace
