#include "PlanPattern.h"

#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>

#include <memory>

struct PlanPattern::Code {
    pcre2_code* code = nullptr;
    ~Code() { pcre2_code_free(code); }
};

namespace {

// Room for the whole match and a few groups; PCRE2 reports only what fits, and only the
// first group is ever asked for.
constexpr uint32_t kPairs = 8;

pcre2_match_data* threadMatchData() {
    thread_local const std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data(
        pcre2_match_data_create(kPairs, nullptr), pcre2_match_data_free);
    return data.get();
}

} // namespace

PlanPattern::PlanPattern(const QString& pattern, Anchor anchor) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    // The plans' patterns are ASCII over digits: no UTF checks of each subject are needed.
    const uint32_t options = PCRE2_ANCHORED | (anchor == Anchor::Whole ? PCRE2_ENDANCHORED : 0);
    // A group around the pattern, so that its alternatives are all anchored at the end too.
    const QString wrapped = QStringLiteral("(?:%1)").arg(pattern);
    pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(wrapped.utf16()),
                                     PCRE2_SIZE(wrapped.size()), options, &error, &offset, nullptr);
    if (code == nullptr) {
        m_invalid = true;
        return;
    }
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE); // without JIT the interpreter answers alike
    auto compiled = std::make_shared<Code>();
    compiled->code = code;
    m_code = std::move(compiled);
}

qsizetype PlanPattern::match(QStringView text, qsizetype* group1) const {
    if (!m_code)
        return -1;
    pcre2_match_data* data = threadMatchData();
    if (data == nullptr)
        return -1;
    static const char16_t nothing = 0; // a null view has no characters to point at
    const auto* subject = reinterpret_cast<PCRE2_SPTR>(text.isEmpty() ? &nothing : text.utf16());
    const int found = pcre2_match(m_code->code, subject, PCRE2_SIZE(text.size()), 0, 0, data, nullptr);
    if (found < 0)
        return -1;
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data);
    if (group1) {
        const bool took = found > 1 && ovector[2] != PCRE2_UNSET;
        *group1 = took ? qsizetype(ovector[3] - ovector[2]) : 0;
    }
    return qsizetype(ovector[1] - ovector[0]);
}
