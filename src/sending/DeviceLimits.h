#pragma once
// How many messages one SIM (or phone) may hand over a minute, an hour and a day, over every
// campaign and sender (0: no limit); and a random rest between its messages, for networks
// that flag a steady pace.
struct DeviceLimits {
    int perMinute = 0, perHour = 0, perDay = 0;
    int gapMin = 0, gapMax = 0; // seconds
    bool counted() const { return perMinute > 0 || perHour > 0 || perDay > 0; }
    bool operator==(const DeviceLimits&) const = default;
};
