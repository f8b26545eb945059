#pragma once
// A UUCP lock on a serial port while we use it: "LCK..<port>" in the lock folder, holding our
// pid as ten ASCII digits and a new line, the convention every serial program on the machine
// reads. Made at once with O_EXCL, so two programs cannot both believe they own it; a lock
// whose owner no longer lives is stale and replaced. A lock folder this user may not write
// is no reason to refuse the port: we go on without a lock file (and say so once).
// Several ports of this process on one device share one file; the last to let go removes it,
// and whatever is still held when the process ends is removed then.
#include "PortHolders.h"

#include <QString>

class PortLock {
public:
    enum class State {
        Locked,     // the file is ours
        Held,       // a live process of another pid owns it: see owner()
        WithoutFile // the folder cannot take a lock file: the port is used without one
    };

    explicit PortLock(const QString& path, const PortHolders::Roots& roots = PortHolders::Roots::system());
    ~PortLock();
    PortLock(const PortLock&) = delete;
    PortLock& operator=(const PortLock&) = delete;

    State state() const { return m_state; }
    bool held() const { return m_state == State::Held; }
    const PortHolders::Holder& owner() const { return m_owner; }
    QString filePath() const { return m_file; }

    // Lets go now (a lock held by another is never touched).
    void release();

private:
    State m_state = State::WithoutFile;
    QString m_file;
    PortHolders::Holder m_owner;
    bool m_registered = false;
};
