#pragma once
// Virtual modems on pseudo-terminals, for the suites that search for modems and talk to them.
// Header only: the suites that use it link the simulator, the support library does not.
#include "core/Clock.h"
#include "sim/VirtualModem.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

inline sim::ModemIdentity identity(const char* imei, const char* maker = "Virtual") {
    sim::ModemIdentity id;
    id.imei = imei;
    id.manufacturer = maker;
    return id;
}

class VirtualModemsTest : public ::testing::Test {
protected:
    // Read time-outs are stretched by clockScale, so a modem's thread has time to answer.
    explicit VirtualModemsTest(double clockScale = 0.05) : m_clockScale(clockScale) {}
    void SetUp() override { Clock::setScale(m_clockScale); }
    void TearDown() override { Clock::setScale(0.001); }

    // Starts a modem whose network answers at once; `change` adjusts what else it does.
    sim::VirtualModem& attach(const sim::ModemIdentity& id = {},
                              const std::function<void(sim::ModemBehaviour&)>& change = {}) {
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        if (change)
            change(behaviour);
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
        EXPECT_TRUE(modems.back()->start());
        return *modems.back();
    }
    QStringList paths() const {
        QStringList out;
        for (const auto& m : modems)
            out << m->devicePath();
        return out;
    }

    std::vector<std::unique_ptr<sim::VirtualModem>> modems;

private:
    double m_clockScale;
};
