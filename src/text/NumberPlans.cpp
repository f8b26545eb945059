#include "NumberPlans.h"

#include "PlanPattern.h"

#include <phonenumbers/phonemetadata.pb.h>
#include <phonenumbers/phonenumberutil.h>

#include <QHash>
#include <QList>

#include <algorithm>
#include <list>
#include <memory>
#include <set>
#include <string>

// The library's compiled-in plans: exported by libphonenumber.so, declared in a header it
// does not install.
namespace i18n::phonenumbers {
int metadata_size();
const void* metadata_get();
} // namespace i18n::phonenumbers

using i18n::phonenumbers::PhoneMetadata;
using i18n::phonenumbers::PhoneMetadataCollection;
using i18n::phonenumbers::PhoneNumberDesc;
using i18n::phonenumbers::PhoneNumberUtil;
using NumberPlans::Length;

namespace {

constexpr int kMinNsnLength = 2;  // the library's shortest national significant number
constexpr int kMaxNsnLength = 17; // and its longest

PlanPattern compiled(const std::string& pattern, bool whole) {
    return {QString::fromStdString(pattern), whole ? PlanPattern::Anchor::Whole : PlanPattern::Anchor::Start};
}

// A pattern that is nothing but digits ("00", "0"), which most prefixes are: matched by
// comparing, without a regular expression. Empty for any other pattern.
QString literalDigits(const std::string& pattern) {
    if (pattern.empty() ||
        !std::all_of(pattern.cbegin(), pattern.cend(), [](char c) { return c >= '0' && c <= '9'; }))
        return QString();
    return QString::fromStdString(pattern);
}

// How many characters a prefix pattern takes from the start of number (-1: no match), and
// whether its first group took anything.
struct PrefixMatch {
    qsizetype length = -1;
    bool groupTookSomething = false;
};

struct Prefix {
    PlanPattern re;
    QString literal;

    Prefix() = default;
    explicit Prefix(const std::string& pattern)
        : re(compiled(pattern, false)), literal(literalDigits(pattern)) {}
    PrefixMatch match(QStringView number) const {
        if (!literal.isEmpty())
            return {number.startsWith(literal) ? literal.size() : -1, false};
        qsizetype group = 0;
        const qsizetype length = re.match(number, &group);
        if (length < 0)
            return {};
        return {length, group > 0};
    }
};

struct Desc {
    bool usable = false;
    QList<int> lengths;
    quint64 lengthBits = 0; // the lengths as bits, asked once or more per number
    PlanPattern pattern;

    explicit Desc(const PhoneNumberDesc& d) : usable(d.has_national_number_pattern()) {
        for (int i = 0; i < d.possible_length_size(); ++i) {
            lengths << d.possible_length(i);
            if (d.possible_length(i) >= 0 && d.possible_length(i) < 64)
                lengthBits |= quint64(1) << d.possible_length(i);
        }
        if (usable)
            pattern = compiled(d.national_number_pattern(), true);
    }
    bool patternMatches(QStringView nsn) const { return usable && pattern.matches(nsn); }
    // The library's IsNumberMatchingDesc: a possible length, then the whole pattern.
    bool matches(QStringView nsn) const {
        if (!lengths.isEmpty() && (nsn.size() >= 64 || (lengthBits >> nsn.size() & 1) == 0))
            return false;
        return patternMatches(nsn);
    }
};

struct Plan {
    QString id;
    int code = 0;
    QString codeText;
    bool usable = true; // false: the library reads every number of this region
    Prefix idd;
    bool hasPrefix = false;
    Prefix prefix;
    bool hasTransform = false;
    bool hasLeadingDigits = false;
    PlanPattern leadingDigits;
    QList<int> localLengths;
    std::unique_ptr<Desc> general;
    std::vector<Desc> types;

    explicit Plan(const PhoneMetadata& m)
        : id(QString::fromStdString(m.id())), code(m.country_code()), codeText(QString::number(code)) {
        usable = m.has_international_prefix() && !m.international_prefix().empty();
        if (usable)
            idd = Prefix(m.international_prefix());
        hasPrefix = !m.national_prefix_for_parsing().empty();
        if (hasPrefix)
            prefix = Prefix(m.national_prefix_for_parsing());
        hasTransform = !m.national_prefix_transform_rule().empty();
        hasLeadingDigits = m.has_leading_digits();
        if (hasLeadingDigits)
            leadingDigits = compiled(m.leading_digits(), false);
        for (int i = 0; i < m.general_desc().possible_length_local_only_size(); ++i)
            localLengths << m.general_desc().possible_length_local_only(i);
        general = std::make_unique<Desc>(m.general_desc());
        for (const PhoneNumberDesc* d :
             {&m.mobile(), &m.fixed_line(), &m.toll_free(), &m.premium_rate(), &m.shared_cost(), &m.voip(),
              &m.personal_number(), &m.pager(), &m.uan(), &m.voicemail()})
            if (d->has_national_number_pattern())
                types.emplace_back(*d);
        for (const PlanPattern* re : {&idd.re, &prefix.re, &leadingDigits})
            usable = usable && (re->isEmpty() || re->isValid());
        usable = usable && general->usable && general->pattern.isValid();
        for (const Desc& d : types)
            usable = usable && d.pattern.isValid();
    }

    // The library's GetNumberTypeHelper is not UNKNOWN.
    bool isValid(QStringView nsn) const {
        if (!general->matches(nsn))
            return false;
        return std::any_of(types.cbegin(), types.cend(), [nsn](const Desc& d) { return d.matches(nsn); });
    }

    // The library's TestNumberLength for an unknown type.
    Length length(QStringView number) const {
        const QList<int>& possible = general->lengths;
        const int n = int(number.size());
        if (possible.isEmpty() || possible.first() == -1)
            return Length::Invalid;
        if (localLengths.contains(n))
            return Length::LocalOnly;
        if (possible.first() == n)
            return Length::Possible;
        if (possible.first() > n)
            return Length::TooShort;
        if (possible.last() < n)
            return Length::TooLong;
        return possible.mid(1).contains(n) ? Length::Possible : Length::Invalid;
    }

    // The library's MaybeStripNationalPrefixAndCarrierCode; false when it would transform the
    // number (a rule this reader leaves to the library).
    bool stripTrunkPrefix(QStringView& number) const {
        if (!hasPrefix || number.isEmpty())
            return true;
        const PrefixMatch m = prefix.match(number);
        if (m.length < 0)
            return true;
        if (hasTransform && m.groupTookSomething)
            return false;
        const QStringView rest = number.mid(m.length);
        if (general->patternMatches(number) && !general->patternMatches(rest))
            return true;
        number = rest;
        return true;
    }
};

struct Plans {
    QHash<QString, const Plan*> byRegion;
    QHash<int, QList<const Plan*>> byCode; // in the library's order of regions
    QHash<int, const Plan*> mainByCode;
    std::set<int> codes;
    std::vector<std::unique_ptr<Plan>> storage;
    bool loaded = false;

    Plans() {
        PhoneMetadataCollection collection;
        if (!collection.ParseFromArray(i18n::phonenumbers::metadata_get(),
                                       i18n::phonenumbers::metadata_size()))
            return;
        const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
        for (const PhoneMetadata& m : collection.metadata()) {
            if (m.id() == "001") // entities without a region (+800, +882, ...): the library's
                continue;
            storage.push_back(std::make_unique<Plan>(m));
            byRegion.insert(QString::fromStdString(m.id()), storage.back().get());
        }
        util.GetSupportedCallingCodes(&codes);
        for (int code : codes) {
            std::list<std::string> regions;
            util.GetRegionCodesForCountryCallingCode(code, &regions);
            QList<const Plan*> plans;
            for (const std::string& r : regions)
                plans << byRegion.value(QString::fromStdString(r));
            if (plans.contains(nullptr) || plans.isEmpty())
                continue;
            byCode.insert(code, plans);
            std::string main;
            util.GetRegionCodeForCountryCode(code, &main);
            mainByCode.insert(code, byRegion.value(QString::fromStdString(main)));
        }
        loaded = true;
    }
};

const Plans& plans() {
    static const Plans p;
    return p;
}

// The library's ExtractCountryCode: the 1 to 3 leading digits that are a calling code.
int extractCode(QStringView& number, const Plans& p) {
    if (number.isEmpty() || number.front() == u'0')
        return 0;
    for (int i = 1; i <= 3 && i <= number.size(); ++i) {
        const int code = number.left(i).toInt();
        if (p.codes.count(code) != 0) {
            number = number.mid(i);
            return code;
        }
    }
    return 0;
}

// The digits of a number written with at most a leading "+" (plus says whether it was
// there); none when anything else is in it.
std::optional<QStringView> digitsOf(QStringView number, bool& plus) {
    plus = number.startsWith(u'+');
    const QStringView digits = plus ? number.mid(1) : number;
    if (digits.isEmpty())
        return std::nullopt;
    for (QChar c : digits)
        if (c < u'0' || c > u'9')
            return std::nullopt;
    return digits;
}

// Where the calling code comes from: "+", the international prefix, the country's own code
// written without "+", or none (a national number: 0). The code is taken off digits; none
// when the number cannot be read.
std::optional<int> takeCallingCode(QStringView& digits, bool plus, const Plan& home, const Plans& p) {
    bool international = plus;
    if (!plus) {
        const PrefixMatch idd = home.idd.match(digits);
        if (idd.length > 0) {
            const QStringView rest = digits.mid(idd.length);
            if (rest.startsWith(u'0'))
                return std::nullopt; // not taken for a prefix by the library either: its call
            digits = rest;
            international = true;
        }
    }
    if (international) {
        if (digits.size() <= kMinNsnLength)
            return std::nullopt;
        const int code = extractCode(digits, p);
        return code == 0 ? std::nullopt : std::optional<int>(code);
    }
    if (digits.startsWith(home.codeText)) {
        QStringView rest = digits.mid(home.codeText.size());
        if (!home.stripTrunkPrefix(rest))
            return std::nullopt;
        if ((!home.general->patternMatches(digits) && home.general->patternMatches(rest)) ||
            home.length(digits) == Length::TooLong) {
            digits = rest;
            return home.code;
        }
    }
    return 0;
}

// The trunk prefix, read with the plan of the number's country, taken off when what remains
// can be a number there; false when the number cannot be read or has no possible length.
bool takeTrunkPrefix(QStringView& digits, const Plan& plan) {
    QStringView national = digits;
    if (!plan.stripTrunkPrefix(national))
        return false;
    const Length length = plan.length(national);
    if (length != Length::TooShort && length != Length::LocalOnly && length != Length::Invalid)
        digits = national;
    return digits.size() >= kMinNsnLength && digits.size() <= kMaxNsnLength;
}

// Whether the number is valid in the region of its calling code that it belongs to (by its
// leading digits, else by its validity); none when a region of the code has no usable plan.
std::optional<bool> validInItsRegion(QStringView digits, const QList<const Plan*>& candidates) {
    const Plan* found = candidates.size() == 1 ? candidates.first() : nullptr;
    for (const Plan* candidate : candidates) {
        if (!candidate->usable)
            return std::nullopt;
        if (found != nullptr)
            break;
        if (candidate->hasLeadingDigits) {
            if (candidate->leadingDigits.matches(digits)) {
                found = candidate;
                break;
            }
        } else if (candidate->isValid(digits)) {
            return true; // found by its validity: not asked twice
        }
    }
    return found != nullptr && found->isValid(digits);
}

} // namespace

namespace NumberPlans {

std::optional<Reading> read(QStringView number, const QString& region) {
    const Plans& p = plans();
    const Plan* home = p.loaded ? p.byRegion.value(region) : nullptr;
    if (home == nullptr || !home->usable || number.isEmpty())
        return std::nullopt;
    bool plus = false;
    std::optional<QStringView> digits = digitsOf(number, plus);
    if (!digits)
        return std::nullopt;
    const std::optional<int> taken = takeCallingCode(*digits, plus, *home, p);
    if (!taken)
        return std::nullopt;
    const Plan* plan = *taken == 0 ? home : p.mainByCode.value(*taken);
    if (plan == nullptr || !plan->usable || !takeTrunkPrefix(*digits, *plan))
        return std::nullopt;
    const int code = *taken == 0 ? home->code : *taken;

    const QList<const Plan*> candidates = p.byCode.value(code);
    const Plan* main = p.mainByCode.value(code);
    if (candidates.isEmpty() || main == nullptr || !main->usable)
        return std::nullopt;
    const std::optional<bool> valid = validInItsRegion(*digits, candidates);
    if (!valid)
        return std::nullopt;
    if (*valid) {
        QString e164 = QLatin1Char('+') + main->codeText;
        return Reading{e164.append(*digits), Length::Possible, main->id};
    }
    return Reading{QString(), main->length(*digits), main->id};
}

} // namespace NumberPlans
