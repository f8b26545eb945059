#pragma once
// The desktop application: both main windows, their views and the device-kind choice.
// Only in builds with windows (BULKSMS_GUI).

int runDesktop(int argc, char* argv[]);
