#pragma once
// A numbering-plan pattern compiled once and matched many times from any thread, straight
// through PCRE2 with JIT: a million numbers cost a few pattern runs each and no allocation
// (the match data is each thread's own and reused).
#include <QString>
#include <QStringView>

#include <memory>

class PlanPattern {
public:
    enum class Anchor { Start, Whole };

    PlanPattern() = default;
    PlanPattern(const QString& pattern, Anchor anchor);

    bool isEmpty() const { return m_code == nullptr && !m_invalid; }
    bool isValid() const { return m_code != nullptr; }

    // How many characters the match from the start of text takes (-1: no match); group1
    // (when given) becomes the length of the first group's match, 0 when it took nothing.
    qsizetype match(QStringView text, qsizetype* group1 = nullptr) const;
    bool matches(QStringView text) const { return match(text) >= 0; }

private:
    struct Code;
    std::shared_ptr<const Code> m_code;
    bool m_invalid = false;
};
