#include "Log.h"

#include "TextUtils.h"
#include "TroubleshootingLog.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {
std::mutex& captureMutex() {
    static std::mutex m;
    return m;
}
// The process has one standard error: the command line's choice holds for every line logged,
// from any thread.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one per process
std::atomic<bool> g_toStandardError{false};

std::vector<LogCapture*>& captures() {
    static std::vector<LogCapture*> list;
    return list;
}
} // namespace

void Show_NSLog_Message(const QString& text) {
    const QString line = Trim_Str(QStringLiteral("NSLOG : %1").arg(text));
    if (line.size() <= 7)
        return; // only the prefix: the text was blank
    const QByteArray utf8 = line.toUtf8();
    // The lines carry phone numbers and message texts: they stay in the user's own files.
    postLogLine(utf8 + '\n');
    if (g_toStandardError)
        std::fprintf(stderr, "%s\n", utf8.constData());
    std::lock_guard lock(captureMutex());
    for (LogCapture* capture : captures())
        capture->append(line);
}

void setLogToStandardError(bool on) { g_toStandardError = on; }

LogCapture::LogCapture() {
    std::lock_guard lock(captureMutex());
    captures().push_back(this);
}

LogCapture::~LogCapture() {
    std::lock_guard lock(captureMutex());
    std::erase(captures(), this);
}

QStringList LogCapture::lines() const {
    std::lock_guard lock(captureMutex());
    return m_lines;
}

bool LogCapture::contains(const QString& fragment) const {
    std::lock_guard lock(captureMutex());
    for (const QString& line : m_lines)
        if (line.contains(fragment))
            return true;
    return false;
}

void LogCapture::append(const QString& line) { m_lines.append(line); }
