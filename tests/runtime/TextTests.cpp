#include "Texts.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.FormatString.h"
#include "VEXA.Runtime.Text.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace vexa {
namespace {

TEST(Text, SurvivesConversionToBytesAndBack) {
    const QString high(QChar(0xD83C)), low(QChar(0xDF99));
    for (const QString& text : {QStringLiteral("\uFEFF\u00E9\u0416\u20AC\uFFFD\uFFFF"), QStringLiteral("\uFEFFx"), high,
                                low, QString(low + high), QString(high + u"x" + low), QString(high + high + low)}) {
        const std::string bytes = ToUtf8(text);
        EXPECT_EQ(FromUtf8(bytes), text) << bytes;
        EXPECT_TRUE(EqualsUtf8(text, bytes)) << bytes;
        EXPECT_FALSE(EqualsUtf8(QString(text + u'x'), bytes)) << bytes;
        EXPECT_FALSE(EqualsUtf8(text, bytes + "\xC3")) << bytes;
    }
    EXPECT_EQ(ToUtf8(QString(high + low)), "\xF0\x9F\x8E\x99") << "a whole pair is plain UTF-8";
    for (const char* broken : {"\xFF", "\xC0\x80", "\xE2\x82", "\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_TRUE(FromUtf8(broken).contains(QChar::ReplacementCharacter));
        EXPECT_FALSE(EqualsUtf8(FromUtf8(broken), broken));
    }
}

TEST(Text, HasTheSameFoldedFormAsAnotherIfAndOnlyIfTheyCompareEqual) {
    for (char32_t point = 0; point < QChar::LastValidCodePoint; ++point) {
        if (QChar::toUpper(point) == point) continue;
        const QString text = QString::fromUcs4(&point, 1);
        for (const char32_t other : {QChar::toUpper(point), char32_t(point + 1), char32_t(point + 0x400)}) {
            const QString second = QString::fromUcs4(&other, 1);
            EXPECT_EQ(FoldCase(text) == FoldCase(second), text.compare(second, Qt::CaseInsensitive) == 0) << +point;
        }
    }
    const QString high(QChar(0xD801)), low(QChar(0xDC00));
    for (const QString& text : {high, low, QString(high + u"x" + low), QString(low + high)})
        EXPECT_EQ(FoldCase(text), text);
}

TEST(Text, TakesTheColumnsOfATerminal) {
    const std::pair<QString, int> rows[] = {
        {"", 0},
        {"Ann", 3},
        {"\u756A\u7D44\uFF01", 6},    // wide and full-width
        {"\uFF76\u00E9\u0436", 3},    // half-width
        {"e\u0301\u20DD\u200Dx", 2},  // with marks over and around it, and a character that is not shown
        {"\U0001F3A7\U0001D49C", 3},  // a wide and a narrow pair of surrogates
        {QString(QChar(0xD83C)) + u'x', 2},
    };
    for (const auto& [text, columns] : rows) EXPECT_EQ(DisplayWidth(text), columns) << text.toStdString();
}

class Greeter : public FormatStringFactory {
public:
    Greeter() {
        FKeepUnknown = true;
        RegisterMacro("Name", [](const void* context) { return *static_cast<const QString*>(context); });
        RegisterFunction("Up", [](const QString& argument) { return argument.toUpper(); });
        RegisterFunction("Wrap", [](const QString& argument) { return QString(u'<' + argument + u'>'); });
    }
};

TEST(FormatString, ReplacesKnownMacrosAndLeavesTheRest) {
    const std::pair<QString, QString> rows[] = {
        {"%Up()%%Wrap( y )%", "< y >"},
        {"%Wrap(%Up(a%Name%b)%)%", "<ABOB%NAME%B>"},
        {"%Wrap(f(x) (y))%", "<f(x) (y)>"},
        {"%name% %Nobody(x)% 100% of %Name", "%name% %Nobody(x)% 100% of %Name"},
        {"%%%Name%5%x%Name%", "%%bob%Name%5%xbob%Name%"},
        {"%Up(%Name%", "%Up(bob%Name%"},
        {"%Up%%Up(x)", "%Up%%Up(x)"}};
    const Greeter greeter;
    const QString name = "bob%Name%";  // macros in a value are not expanded
    for (const auto& [text, result] : rows) EXPECT_EQ(greeter.Evaluate(text, &name).toString(), result);
    const QString deep = QString("%Up(").repeated(20'000) + u"x" + QString(")%").repeated(20'000);
    EXPECT_FALSE(greeter.Evaluate(deep, &name).toString().isEmpty());
}

/// Expects `text` to have been read as that moment; an empty moment means that the date is invalid.
void ExpectDate(const QString& text, double date, const QString& moment) {
    SCOPED_TRACE(text.toStdString());
    if (moment.isEmpty())
        EXPECT_EQ(date, 0);
    else
        EXPECT_EQ(FromOleDate(date), QDateTime::fromString(moment, Qt::ISODateWithMs)) << moment.toStdString();
}

TEST(Dates, AreParsedInTheFormatsAndLanguagesThatFeedsUse) {
    const std::pair<QString, QString> mail[] = {
        {"  fri, 17 may 2024 09:05:07 +0200 ", "2024-05-17T07:05:07Z"},
        {"Fri, 17 May 2024 09:05:07 -04:30", "2024-05-17T13:35:07Z"},
        {"17 May 2024 09:05", "2024-05-17T09:05:00Z"},
        {"Tue, 03 Sept 2019 10:00:00 GMT", "2019-09-03T10:00:00Z"},
        {"Thurs, 5 SEPTEMBER 2019 10:00:00 CEST", "2019-09-05T08:00:00Z"},
        {"Sat, 01 Jan 00 00:00:00 GMT", "2000-01-01T00:00:00Z"},
        {"Fri, 17 May 0024 09:05:07 GMT", "2024-05-17T09:05:07Z"},
        {"2024-05-17T09:05:07+02:00", "2024-05-17T07:05:07Z"},
        {"yesterday", ""},
        {"Fri, 17 May \u0662\u0660 09:05", ""},
        {"Di, 24 Nov 2026 06:00:00 +0100", "2026-11-24T05:00:00Z"},
        {"Dienstag, 24. M\u00E4rz 2026 um 6:00 Uhr", "2026-03-24T06:00:00Z"},
        {"mar., 24 nov. 2026", "2026-11-24T00:00:00Z"},
        {"Mar, 24 Sep 2026 06:00:00 GMT", "2026-09-24T06:00:00Z"},
        {"dim. 2 ao\u00FBt 2026 06:00:00 CEST", "2026-08-02T04:00:00Z"},
        {"s\u00E1b, 24 de enero de 2026 06:00", "2026-01-24T06:00:00Z"},
        {"gioved\u00EC 24 giugno 2026 06:00:00", "2026-06-24T06:00:00Z"},
        {"ter, 24 mar\u00E7o 2026 06:00:00 BRT", "2026-03-24T09:00:00Z"},
        {"wo, 24 mrt 2026 06:00:00 MEZ", "2026-03-24T05:00:00Z"},
        {"\u015Br., 24 pa\u017Adziernika 2026 06:00:00 CET", "2026-10-24T05:00:00Z"},
        {"\u0412\u0442, 24 \u043C\u0430\u044F 2026 06:00:00 MSK", "2026-05-24T03:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 GMT+2", "2026-11-24T04:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 UTC-02:30", "2026-11-24T08:30:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 CAT", "2026-11-24T04:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 XYZT", "2026-11-24T06:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 America/New_York", "2026-11-24T11:00:00Z"},
        {"Fri, 24 Jul 2026 06:00:00 America/New_York", "2026-07-24T10:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 America/Nowhere", ""},
        {"Tue, 24 Nov 2026 06:00:00 PM +0000", "2026-11-24T18:00:00Z"},
        {"Tue, 24 Nov 2026 12:02:33 a.m. EST", "2026-11-24T05:02:33Z"},
        {"11/24/2026 12:30 PM", "2026-11-24T12:30:00Z"},
        {"11/24/2026 12:30", ""},
        {"2026-11-24 06:00:00.5 PM PST", "2026-11-25T02:00:00Z"},
        {"Tue, 24 Nov 2026 06:00:00 +01x0", ""},
        {"Di, 24 Nov 69 06:00:00", "2069-11-24T06:00:00Z"},
        {"Di, 24 Nov 70 06:00:00", "1970-11-24T06:00:00Z"},
        {"Di, 24 Nov 026 06:00:00", ""},
        {"Di, 31 Nov 2026 06:00:00", ""},
        {"Di, 24 Nov 2026 25:00:00", ""},
        {"Di, 24 Nov 2026 06:00:00 irgendwo", ""},
        {"Di, 24 Nov", ""},
        {"Di, 0 24 Nov 2026", ""},
        {"Folge 24, November 2026", ""},
        {"0000-00-00 00:00:00", ""},
        {"1795500000", ""}};
    const std::pair<QString, QString> iso[] = {{"2024-05-17T09:05:07.250-07:00", "2024-05-17T16:05:07.250Z"},
                                               {" 2024-05-17T09:05:07 ", "2024-05-17T09:05:07Z"},
                                               {"1899-12-31T12:00:00Z", "1899-12-31T12:00:00Z"},
                                               {"2024-13-45T09:05:07Z", ""}};
    for (const auto& [text, moment] : mail) ExpectDate(text, DecodeRfc822Date(text), moment);
    for (const auto& [text, moment] : iso) ExpectDate(text, DecodeIsoDate(text), moment);
}

TEST(Dates, AreFormattedByAPatternAndStayStableOutsideTheCalendar) {
    for (const double date : {0.0, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(FormatOleDate(date, u"yyyy.MM.dd"), "1899.12.30") << date;
    const double moment = DecodeIsoDate("2024-05-17T09:05:59.999Z");
    EXPECT_EQ(FormatOleDate(moment, u"yyyy.MM.dd hh-mm:ss"), "2024.05.17 09-05:59") << "it is not rounded up";
}

}  // namespace
}  // namespace vexa
