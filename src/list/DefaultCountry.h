#pragma once
// The country whose numbers people write without its code ("07911 123456" in GB): chosen once
// in the windows and kept in the data folder ("Default_Country.OSTREL", one region code), or
// given for one run on the command line. None means numbers are compared as written. One
// object of the application, made at its start and handed to every window that compares numbers.
#include "text/NumberNormaliser.h"

#include <QList>
#include <QObject>

#include <mutex>
#include <utility>

class DataFolder;

class DefaultCountry : public QObject {
    Q_OBJECT
public:
    explicit DefaultCountry(QObject* parent = nullptr) : QObject(parent) {}

    // Safe from any thread: loaders read it while the windows may change it.
    QString region() const;
    NumberNormaliser normaliser() const;

    // For this process only; "" (or "none") is none. False, and nothing changes, for a code
    // that is no region.
    bool set(const QString& region);
    // Chosen in a window: set, and kept in the data folder for the next start. False when
    // either failed; error (may be null) then says which file could not be written and why.
    bool choose(const QString& region, const DataFolder& folder, QString* error = nullptr);
    // The choice kept in the data folder; none when there is none or it is unreadable.
    void load(const DataFolder& folder);

    static QString filePath(const DataFolder& folder);
    // What a window offers: none first, then every region by name, as
    // {"GB", "United Kingdom (GB, +44)"}.
    static QList<std::pair<QString, QString>> choices();

signals:
    void changed();

private:
    mutable std::mutex m_mutex;
    NumberNormaliser m_normaliser;
};
