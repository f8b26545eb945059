#pragma once
// A real Secret Service for tests: a D-Bus session bus of its own with gnome-keyring-daemon on
// it (its login keyring created and unlocked with a throwaway password), its home and data in
// a temporary folder. The process's DBUS_SESSION_BUS_ADDRESS points at it from start() on, so
// it must start before anything in the process first reaches the session bus; it lasts until
// the process ends (libsecret keeps its connection).
#include <QString>

namespace KeyringSession {

// Under the thread sanitizer, a process whose windows' threads hand work to the main thread
// after it talked to the keyring (GLib and GIO, not built with the sanitizer, with threads of
// their own) gets races reported on our queue's lock that the lock does order. Tests of windows
// with the keyring skip there; they run in the plain and address-sanitizer suites.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kWindowsSkipped = true;
#else
inline constexpr bool kWindowsSkipped = false;
#endif

// Starts it once per process; false (with the reason) when the daemons are missing or did not come up.
bool start(QString* why);

} // namespace KeyringSession
