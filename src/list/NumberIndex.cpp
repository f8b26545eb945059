#include "NumberIndex.h"

namespace {
// 32 characters fit; a number is at most 21 ("+" and 20 digits).
constexpr qsizetype kMaxPacked = 32;

template <typename Hash, typename Key> void addTo(Hash& hash, const Key& key) { ++hash[key]; }

template <typename Hash, typename Key> bool claimIn(Hash& hash, const Key& key) {
    int& count = hash[key]; // one lookup: 0 when it was not there
    if (count > 0)
        return false;
    count = 1;
    return true;
}

template <typename Hash, typename Key> void removeFrom(Hash& hash, const Key& key) {
    const auto it = hash.find(key);
    if (it != hash.end() && --it.value() == 0)
        hash.erase(it);
}

template <typename Key> void mergeInto(QHash<Key, int>& into, QHash<Key, int>&& from) {
    if (into.isEmpty()) {
        into = std::move(from);
        return;
    }
    for (auto it = from.cbegin(); it != from.cend(); ++it)
        into[it.key()] += it.value();
    from.clear();
}
} // namespace

std::optional<NumberIndex::Packed> NumberIndex::pack(const QString& number) {
    const qsizetype size = number.size();
    if (size == 0 || size > kMaxPacked)
        return std::nullopt;
    Packed key{~std::uint64_t(0), ~std::uint64_t(0)};
    const QChar* c = number.constData();
    for (qsizetype i = 0; i < size; ++i) {
        std::uint64_t nibble = 0;
        if (c[i] >= u'0' && c[i] <= u'9')
            nibble = c[i].unicode() - u'0';
        else if (c[i] == u'+' && i == 0)
            nibble = 0xA;
        else
            return std::nullopt;
        std::uint64_t& word = i < 16 ? key.low : key.high;
        const int shift = int(i % 16) * 4;
        word = (word & ~(std::uint64_t(0xF) << shift)) | (nibble << shift);
    }
    return key;
}

bool NumberIndex::contains(const QString& number) const {
    if (const std::optional<Packed> key = pack(number))
        return m_packed.contains(*key);
    return m_texts.contains(number);
}

void NumberIndex::add(const QString& number) {
    if (const std::optional<Packed> key = pack(number))
        addTo(m_packed, *key);
    else
        addTo(m_texts, number);
}

bool NumberIndex::claim(const QString& number) {
    if (const std::optional<Packed> key = pack(number))
        return claimIn(m_packed, *key);
    return claimIn(m_texts, number);
}

void NumberIndex::remove(const QString& number) {
    if (const std::optional<Packed> key = pack(number))
        removeFrom(m_packed, *key);
    else
        removeFrom(m_texts, number);
}

void NumberIndex::merge(NumberIndex&& other) {
    mergeInto(m_packed, std::move(other.m_packed));
    mergeInto(m_texts, std::move(other.m_texts));
}

void NumberIndex::clear() {
    m_packed.clear();
    m_texts.clear();
}

size_t qHash(const NumberIndex::Packed& key, size_t seed) noexcept {
    return qHashMulti(seed, key.low, key.high);
}
