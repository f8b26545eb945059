#pragma once
// How many records hold each number, looked up in O(1). Nearly every number is digits with at
// most a leading "+" (as written, or its E.164 form): those are packed into 128 bits, so a
// lookup neither hashes nor compares text and the index keeps no strings. Anything else
// (a stored list may hold any text) is kept as written.
#include <QHash>
#include <QString>

#include <cstdint>
#include <optional>

class NumberIndex {
public:
    bool contains(const QString& number) const;
    void add(const QString& number);
    // add when the number is not here yet (true); false, changing nothing, when it is.
    bool claim(const QString& number);
    void remove(const QString& number);
    // Counts every number of other in as well; into an empty index other is taken whole.
    void merge(NumberIndex&& other);
    void clear();
    bool isEmpty() const { return m_packed.isEmpty() && m_texts.isEmpty(); }
    qsizetype size() const { return m_packed.size() + m_texts.size(); }

    // One character per 4 bits, the rest filled with 0xF: digits, "+" as 0xA. Two different
    // numbers never pack alike, and a string that is no number does not pack at all.
    struct Packed {
        std::uint64_t low = 0;
        std::uint64_t high = 0;
        friend bool operator==(const Packed& a, const Packed& b) {
            return a.low == b.low && a.high == b.high;
        }
    };
    static std::optional<Packed> pack(const QString& number);

private:
    QHash<Packed, int> m_packed;
    QHash<QString, int> m_texts;
};

size_t qHash(const NumberIndex::Packed& key, size_t seed = 0) noexcept;
