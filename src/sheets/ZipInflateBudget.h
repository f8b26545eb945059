#pragma once
// Bytes inflated from one archive, checked against the caps of SSZipLimits after every
// chunk. The tally carries the archive's total across entries and across separate reads,
// so many entries each under the caps cannot add up to a bomb.
#include "SSZipArchive.h"

#include <algorithm>

class ZipInflateBudget {
public:
    ZipInflateBudget(const SSZipLimits& limits, SSZipTally& tally, qint64 archiveBytes)
        : m_limits(limits), m_tally(tally), m_archive(std::max<qint64>(archiveBytes, 1)) {}

    void startEntry(qint64 compressedSize) {
        m_entry = 0;
        m_compressed = std::max<qint64>(compressedSize, 1);
    }

    // False when the chunk just read breaks a cap.
    bool add(qint64 bytes) {
        m_entry += bytes;
        m_tally.inflated += bytes;
        const qint64 total = m_tally.inflated;
        if (m_entry > m_limits.maxEntryBytes || total > m_limits.maxTotalBytes)
            return false;
        if (total > m_limits.ratioCheckFromBytes && total / m_archive > m_limits.maxTotalRatio)
            return false;
        return m_entry <= m_limits.ratioCheckFromBytes || m_entry / m_compressed <= m_limits.maxRatio;
    }

private:
    SSZipLimits m_limits;
    SSZipTally& m_tally;
    qint64 m_archive;
    qint64 m_entry = 0;
    qint64 m_compressed = 1;
};
