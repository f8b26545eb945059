#pragma once
// A private virtual phone server per test, with the product's adb pointed at it
// (ADB_SERVER_SOCKET), a private data home and resource folder, and a scripted operator.
#include "ScriptedOperator.h"
#include "TestEnvironment.h"
#include "core/WorkerThread.h"
#include "sim/AdbServer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

// Runs fn on a worker (adb calls never run on the main thread) while events flow.
template <typename F> auto onWorker(F&& fn) {
    std::invoke_result_t<F> result{};
    WorkerThread worker;
    worker.start([&](std::stop_token) { result = fn(); });
    worker.join();
    return result;
}

class PhoneFixture : public ::testing::Test {
protected:
    void TearDown() override;

    // Starts the server with these phones (and the companion app's package in the resources).
    void startPhones(const QList<sim::PhoneConfig>& phones, bool withApk = true);
    sim::PhoneConfig phone(const QString& serial = QStringLiteral("VPHONE0001"));
    sim::VirtualPhone& firstPhone() { return *server->phones().front(); }
    QList<sim::PhoneConfig> one(const sim::PhoneConfig& config) { return {config}; }

    // Messages the phones would have sent, as "number|text|mode".
    QStringList sentMessages() const;
    int injections() const;

    TestDataHome home;
    QTemporaryDir adbHome;
    ScriptedOperator op;
    std::unique_ptr<sim::AdbServer> server;
};
