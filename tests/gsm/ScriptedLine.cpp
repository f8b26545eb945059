#include "ScriptedLine.h"

#include <chrono>
#include <thread>

#include <poll.h>
#include <unistd.h>

ScriptedLine::ScriptedLine(Responder responder, std::optional<Clock::Duration> burstGap)
    : m_responder(std::move(responder)), m_burstGap(burstGap) {
    if (m_pty.open())
        m_worker.start([this](std::stop_token stop) { serve(stop); });
}

QByteArrayList ScriptedLine::commands() const {
    std::lock_guard lock(m_mutex);
    return m_commands;
}

int ScriptedLine::wakeUps() const {
    std::lock_guard lock(m_mutex);
    return m_wakeUps;
}

void ScriptedLine::serve(const std::stop_token& stop) {
    QByteArray pending;
    while (!stop.stop_requested()) {
        pollfd entry{m_pty.master(), POLLIN, 0};
        if (::poll(&entry, 1, 10) <= 0 || !(entry.revents & POLLIN))
            continue; // nothing yet
        char chunk[1024];
        const ssize_t n = ::read(m_pty.master(), chunk, sizeof chunk);
        if (n <= 0)
            continue;
        pending.append(chunk, n);
        qsizetype end;
        while ((end = pending.indexOf('\r')) >= 0) {
            QByteArray command = pending.left(end);
            pending.remove(0, end + 1);
            while (command.startsWith('\n'))
                command.remove(0, 1);
            if (command.startsWith('\x1B')) {
                {
                    std::lock_guard lock(m_mutex);
                    ++m_wakeUps;
                }
                m_pty.write("\r\nOK\r\n");
                continue;
            }
            {
                std::lock_guard lock(m_mutex);
                m_commands.append(command);
            }
            const QByteArrayList bursts = m_responder(command);
            for (qsizetype i = 0; i < bursts.size(); ++i) {
                if (i > 0 && m_burstGap)
                    Clock::sleep(*m_burstGap);
                else if (i > 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                m_pty.write(bursts.at(i));
            }
        }
    }
}
