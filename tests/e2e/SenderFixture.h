#pragma once
// Whole runs of the built `bulksms` against in-process virtual modems: a private data home,
// the modems named in BULKSMS_EXTRA_MODEMS, the clock shrunk; and what the network received.
#include "sim/VirtualModem.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

// What the sender runs with: a private data home with its resources, the clock, the modems named.
QProcessEnvironment senderEnvironment(const QString& home, const QString& clockScale,
                                      const QStringList& modemPaths);
// Runs the sender to its end: the lines it printed; its exit code and standard error in the others.
QStringList runToEnd(const QProcessEnvironment& environment, const QStringList& arguments, int& exitCode,
                     QString& errors);

class SenderFixture : public ::testing::Test {
protected:
    // Starts `count` modems that behave alike (their IMEIs differ in the last digit).
    void startModems(int count, const sim::ModemBehaviour& behaviour, const QString& imeiStem);
    // What the sender runs with: the private data home, its resources, the modems, the clock.
    QProcessEnvironment environment(const QString& clockScale = QStringLiteral("0.05")) const;
    // Starts the sender, running; `fileSizeLimit` >= 0: none of its files may grow past it.
    std::unique_ptr<QProcess> start(const QStringList& arguments, qint64 fileSizeLimit = -1,
                                    const QString& clockScale = QStringLiteral("0.05"));
    int timesReceived(const QString& number) const;
    int received() const; // messages, all modems together

    // The data folder's campaign store, as the sender keeps it.
    QString store() const {
        return home.path() + QStringLiteral("/Ostrel Bulk SMS/BULK_SMS_DATA/Campaigns.db");
    }
    // Its size on the disk, write-ahead file included; the larger of the two files.
    qint64 storeSize() const;
    qint64 largestStoreFile() const;
    // The store holds a run that did not end (looked at, never changed).
    bool unfinishedRunLeft() const;
    // The numbers the store says were being handed to a device, over every run.
    QSet<QString> handedOver() const;

    QTemporaryDir home;
    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
};
