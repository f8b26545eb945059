#include "text/NumberNormaliser.h"
#include "text/NumberPlans.h"
#include "text/NumberRules.h"

#include <QRegularExpression>

#include <gtest/gtest.h>
#include <phonenumbers/phonenumberutil.h>

#include <ostream>
#include <set>

inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace {

// A number as a loader sees it: the separators removed, then read in the default country.
NormalisedNumber read(const char* region, const char* raw) {
    return NumberNormaliser(QString::fromLatin1(region))
        .normalise(normaliseNumberText(QString::fromUtf8(raw)));
}

TEST(NumberNormaliser, NumbersAsPeopleWriteThemInSeveralCountries) {
    const struct {
        const char* region;
        const char* raw;
        const char* e164; // "" = cannot exist
        const char* written;
    } cases[] = {
        // United Kingdom: one mobile in every form lists carry it in
        {"GB", "+44 7911 123456", "+447911123456", "+447911123456"},
        {"GB", "07911 123456", "+447911123456", "07911123456"},
        {"GB", "07911-123-456", "+447911123456", "07911123456"},
        {"GB", "0044 7911 123456", "+447911123456", "00447911123456"},
        {"GB", "447911123456", "+447911123456", "+447911123456"}, // a spreadsheet number: "+" back
        {"GB", "4.47911123456E11", "+447911123456", "+447911123456"},
        {"GB", "7911123456", "+447911123456", "7911123456"}, // trunk 0 lost in a spreadsheet
        {"GB", "+44 (0)20 7946 0958", "+442079460958", "+442079460958"},
        {"GB", "(020) 7946 0958", "+442079460958", "02079460958"},
        {"GB", "+44 07911 123456", "+447911123456", "+4407911123456"}, // trunk 0 after the code
        {"GB", "+44 12", "", "+4412"},
        {"GB", "079111234567", "", "079111234567"},
        {"GB", "07700 900001", "", "07700900001"}, // reserved for drama: no subscriber has it
        // Numbers of other countries keep their own code
        {"GB", "+1 (202) 555-0123", "+12025550123", "+12025550123"},
        {"GB", "0033 6 12 34 56 78", "+33612345678", "0033612345678"},
        // United States: brackets and dashes, the leading 1, "00" although it dials 011
        {"US", "(202) 555-0123", "+12025550123", "2025550123"},
        {"US", "1 202 555 0123", "+12025550123", "+12025550123"}, // "1" is both trunk and code
        {"US", "12025550123", "+12025550123", "+12025550123"},
        {"US", "011 44 7911 123456", "+447911123456", "011447911123456"},
        {"US", "00 44 7911 123456", "+447911123456", "00447911123456"},
        {"US", "555-0123", "", "5550123"}, // no area code
        // Germany, France, India, Nigeria, Brazil
        {"DE", "030 123456", "+4930123456", "030123456"},
        {"DE", "+49 (0)151 2345 6789", "+4915123456789", "+4915123456789"},
        {"FR", "06 12 34 56 78", "+33612345678", "0612345678"},
        {"FR", "06.12.34.56.78", "+33612345678", "0612345678"},
        {"FR", "33612345678", "+33612345678", "+33612345678"},
        {"IN", "+91 98765-43210", "+919876543210", "+919876543210"},
        {"IN", "098765 43210", "+919876543210", "09876543210"},
        {"NG", "0803 123 4567", "+2348031234567", "08031234567"},
        {"BR", "(11) 91234-5678", "+5511912345678", "11912345678"},
        {"BR", "+55 11 9 1234-5678", "+5511912345678", "+5511912345678"},
    };
    for (const auto& c : cases) {
        const NormalisedNumber n = read(c.region, c.raw);
        EXPECT_EQ(n.e164, QString::fromLatin1(c.e164)) << c.region << " " << c.raw;
        EXPECT_EQ(n.valid(), *c.e164 != '\0') << c.region << " " << c.raw << ": " << n.refusal.toStdString();
        EXPECT_EQ(n.written, QString::fromLatin1(c.written)) << c.region << " " << c.raw;
    }
}

TEST(NumberNormaliser, RefusalsSayWhyTheNumberCannotExist) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"GB", "+4412", "too short for GB"},
        {"GB", "079111234567", "too long for GB"},
        {"GB", "07700900001", "no such number in GB"},
        {"US", "5550123", "a local number without its area code"},
        {"GB", "+999123456789", "no such country code"},
        {"DE", "0049", "too short"},
    };
    for (const auto& [region, number, reason] : cases)
        EXPECT_EQ(read(region, number).refusal, QString::fromLatin1(reason)) << region << " " << number;
}

TEST(NumberNormaliser, WithoutACountryNumbersStayAsWritten) {
    for (const char* region : {"", "XX", "GBR", "1"}) {
        const NumberNormaliser none{QString::fromLatin1(region)};
        EXPECT_FALSE(none.active()) << region;
        const NormalisedNumber n = none.normalise(QStringLiteral("+4412"));
        EXPECT_TRUE(n.valid());
        EXPECT_EQ(n.written, QStringLiteral("+4412"));
        EXPECT_TRUE(n.e164.isEmpty());
        EXPECT_EQ(none.comparisonKey(QStringLiteral("07911123456")), QStringLiteral("07911123456"));
    }
}

TEST(NumberNormaliser, OneSubscriberHasOneComparisonKey) {
    const NumberNormaliser gb{QStringLiteral("gb")};
    EXPECT_EQ(gb.region(), QStringLiteral("GB"));
    for (const char* form : {"+447911123456", "07911123456", "447911123456", "00447911123456", "7911123456"})
        EXPECT_EQ(gb.comparisonKey(QString::fromLatin1(form)), QStringLiteral("+447911123456")) << form;
    // A number that cannot exist keeps its written form as its key.
    EXPECT_EQ(gb.comparisonKey(QStringLiteral("+4412")), QStringLiteral("+4412"));
}

TEST(NumberNormaliser, RegionCodes) {
    EXPECT_EQ(NumberNormaliser::regionCode(QStringLiteral(" de ")), QStringLiteral("DE"));
    EXPECT_EQ(NumberNormaliser::regionCode(QStringLiteral("ZZ")), QString());
    EXPECT_EQ(NumberNormaliser::regionCode(QStringLiteral("United Kingdom")), QString());
    EXPECT_EQ(NumberNormaliser::callingCode(QStringLiteral("GB")), QStringLiteral("44"));
    EXPECT_EQ(NumberNormaliser::callingCode(QStringLiteral("QQ")), QString());
    const QStringList regions = NumberNormaliser::regions();
    EXPECT_GT(regions.size(), 200);
    EXPECT_TRUE(regions.contains(QStringLiteral("NG")));
    EXPECT_TRUE(std::is_sorted(regions.cbegin(), regions.cend()));
}

} // namespace

namespace {

using i18n::phonenumbers::PhoneNumber;
using i18n::phonenumbers::PhoneNumberUtil;

// The normaliser reads most numbers without the library; every region's example numbers, in
// every form lists carry them and with a digit changed, dropped or added, must read as the
// library reads them: the same E.164 form, or the same reason.
TEST(NumberNormaliser, AgreesWithTheLibraryOnEveryRegionsNumbers) {
    const PhoneNumberUtil& util = *PhoneNumberUtil::GetInstance();
    int compared = 0;
    int decided = 0; // without the library
    QStringList disagreements;
    for (const QString& region : NumberNormaliser::regions()) {
        std::set<PhoneNumberUtil::PhoneNumberType> types;
        util.GetSupportedTypesForRegion(region.toStdString(), &types);
        for (const PhoneNumberUtil::PhoneNumberType type : types) {
            PhoneNumber example;
            if (!util.GetExampleNumberForType(region.toStdString(), type, &example))
                continue;
            std::string e164, national, nsn;
            util.Format(example, PhoneNumberUtil::E164, &e164);
            util.Format(example, PhoneNumberUtil::NATIONAL, &national);
            util.GetNationalSignificantNumber(example, &nsn);
            const QString plus = QString::fromStdString(e164);
            QStringList forms = {plus, plus.mid(1), "00" + plus.mid(1), QString::fromStdString(nsn),
                                 normaliseNumberText(QString::fromStdString(national))};
            for (const QString& form : QStringList(forms)) {
                QString changed = form;
                changed.back() = QChar(u'0' + (changed.back().unicode() - u'0' + 1) % 10);
                forms << changed << form.chopped(1) << form + "5";
            }
            for (const QString& form : forms) {
                if (form.size() < 2 || form.contains(QRegularExpression("[^+0-9]")))
                    continue;
                for (const QString& home : {region, QStringLiteral("US"), QStringLiteral("GB")}) {
                    const NumberNormaliser numbers(home);
                    const NormalisedNumber fast = numbers.normalise(form);
                    const NormalisedNumber library = numbers.normaliseWithLibrary(form);
                    ++compared;
                    decided += NumberPlans::read(form, home).has_value();
                    if (fast.e164 != library.e164 || fast.refusal != library.refusal ||
                        fast.written != library.written)
                        disagreements
                            << QStringLiteral("%1 in %2: %3 (%4), library %5 (%6)")
                                   .arg(form, home, fast.e164, fast.refusal, library.e164, library.refusal);
                }
            }
        }
    }
    EXPECT_GT(compared, 20000);
    EXPECT_GT(decided, compared * 9 / 10);
    EXPECT_TRUE(disagreements.isEmpty()) << disagreements.size() << " of " << compared << ":\n"
                                         << disagreements.mid(0, 30).join('\n').toStdString();
}

} // namespace
