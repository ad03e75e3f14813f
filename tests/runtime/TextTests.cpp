#include "Printing.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.FormatString.h"
#include "VEXA.Runtime.Text.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace vexa {
namespace {

TEST(Text, ComesBackFromItsBytesAsItWas) {
    const QString high(QChar(0xD83C)), low(QChar(0xDF99));
    const QString rows[] = {{},
                            QStringLiteral("plain"),
                            QStringLiteral("\u00E9\u0416\u20AC\uFFFD\uFFFF"),
                            high,
                            low,
                            low + high,
                            high + u"x" + low,
                            high + high + low,
                            QString(QChar(0xFEFF)) + u"mark" + high};
    for (const QString& text : rows) {
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

TEST(Text, FoldsCaseAsTheComparisonThatIgnoresItDoes) {
    const QString rows[] = {QStringLiteral("HTTP://A/ÉЖ"), QStringLiteral("http://a/éж"), QStringLiteral("ß"),
                            QStringLiteral("SS"),          QStringLiteral("\U00010400"),  QStringLiteral("\U00010428"),
                            QStringLiteral("İ"),           QStringLiteral("i"),           QStringLiteral("ς"),
                            QStringLiteral("σ"),           QString(QChar(0xD801))};
    for (const QString& a : rows)
        for (const QString& b : rows)
            EXPECT_EQ(FoldCase(a) == FoldCase(b), a.compare(b, Qt::CaseInsensitive) == 0)
                << a.toStdString() << " and " << b.toStdString();
}

class Greeter : public FormatStringFactory {
public:
    explicit Greeter(bool keepUnknown) {
        FKeepUnknown = keepUnknown;
        FTrimResult = !keepUnknown;
        RegisterMacro(QStringLiteral("Name"),
                      [](const void* context) { return *static_cast<const QString*>(context); });
        RegisterMacro(QStringLiteral("Empty"), [](const void*) { return QString(); });
        RegisterFunction(QStringLiteral("Up"), [](const QString& argument) { return argument.toUpper(); });
        RegisterFunction(QStringLiteral("Wrap"), [](const QString& argument) { return QString(u'<' + argument + u'>'); });
    }
};

TEST(FormatString, ReplacesWhatItKnowsAndLeavesTheRest) {
    const struct {
        const char *Template, *Result;
    } rows[] = {
        {"", ""},
        {"%Name%", "bob%Name%"},
        {"a%Empty%b%Name%%Name%", "abbob%Name%bob%Name%"},
        {"%Up(x)%", "X"},
        {"%Up()%%Wrap( y )%", "< y >"},
        {"%Wrap(%Up(a%Name%b)%)%", "<ABOB%NAME%B>"},
        {"%Wrap(f(x) (y))%", "<f(x) (y)>"},
        {"%name% %Nobody% %Nobody(x)%", "%name% %Nobody% %Nobody(x)%"},
        {"100% of %Name", "100% of %Name"},
        {"%", "%"},
        {"%%%Name%", "%%bob%Name%"},
        {"50%Name%", "50bob%Name%"},
        {"5%x%Name%", "5%xbob%Name%"},
        {"%Up(x", "%Up(x"},
        {"%Up(%Name%", "%Up(bob%Name%"},
        {"%Up(x)", "%Up(x)"},
        {"%Up%", "%Up%"},
        {" %Empty% ", "  "},
    };
    const Greeter greeter(true);
    const QString name = QStringLiteral("bob%Name%");  // a value is never looked into
    for (const auto& [text, result] : rows)
        EXPECT_EQ(greeter.Evaluate(QString::fromUtf8(text), &name).toString(), QString::fromUtf8(result)) << text;
    EXPECT_EQ(Greeter(false).Evaluate(QStringLiteral(" a%Nobody%b "), &name).toString(), QStringLiteral("ab"));
}

TEST(FormatString, DoesNotOverflowOnDeepNesting) {
    const QString deep = QStringLiteral("%Up(").repeated(20'000) + u"x" + QStringLiteral(")%").repeated(20'000);
    EXPECT_FALSE(Greeter(true).Evaluate(deep, nullptr).toString().isEmpty());
}

TEST(Dates, AreReadInTheFormsThatFeedsShow) {
    const struct {
        const char *Text, *Moment;  // the moment empty: unreadable
        bool IsIso = false;
    } rows[] = {
        {"Fri, 17 May 2024 09:05:07 GMT", "2024-05-17T09:05:07Z"},
        {"  fri, 17 may 2024 09:05:07 +0200 ", "2024-05-17T07:05:07Z"},
        {"Fri, 17 May 2024 09:05:07 -04:30", "2024-05-17T13:35:07Z"},
        {"Fri, 17 May 2024 09:05:07 EST", "2024-05-17T14:05:07Z"},
        {"17 May 2024 09:05", "2024-05-17T09:05:00Z"},
        {"Tue, 03 Sept 2019 10:00:00 GMT", "2019-09-03T10:00:00Z"},
        {"3 September 2019 10:00:00 Z", "2019-09-03T10:00:00Z"},
        {"Thurs, 5 SEPTEMBER 2019 10:00:00 CEST", "2019-09-05T08:00:00Z"},
        {"Saturday, 1 Jan 2000 00:00 MEST", "1999-12-31T22:00:00Z"},
        {"Sat, 01 Jan 00 00:00:00 GMT", "2000-01-01T00:00:00Z"},
        {"Thu, 29 Feb 2024 23:59:59 UT", "2024-02-29T23:59:59Z"},
        {"2024-05-17T09:05:07Z", "2024-05-17T09:05:07Z"},
        {"2024-05-17T09:05:07+02:00", "2024-05-17T07:05:07Z"},
        {"2024-05-17T09:05:07", "2024-05-17T09:05:07Z"},
        {"yesterday", ""},
        {"", ""},
        {"Fri, 17 May \u0662\u0660 09:05", ""},
        {"2024-05-17T09:05:07.250-07:00", "2024-05-17T16:05:07.250Z", true},
        {" 2024-05-17T09:05:07 ", "2024-05-17T09:05:07Z", true},
        {"1899-12-31T12:00:00Z", "1899-12-31T12:00:00Z", true},
        {"Fri, 17 May 2024 09:05:07 GMT", "", true},
        {"2024-13-45T09:05:07Z", "", true},
    };
    for (const auto& [text, moment, isIso] : rows) {
        const double date = isIso ? DecodeIsoDate(QString::fromUtf8(text)) : DecodeRfc822Date(QString::fromUtf8(text));
        if (*moment)
            EXPECT_EQ(FromOleDate(date), QDateTime::fromString(QString::fromUtf8(moment), Qt::ISODateWithMs)) << text;
        else
            EXPECT_EQ(date, 0) << text;
    }
    EXPECT_EQ(DecodeIsoDate(QStringLiteral("2024-05-17T12:00:00Z")), 45429.5);
}

TEST(Dates, AreWrittenByAPatternAndStayStableOutsideTheCalendar) {
    const QString pattern = QStringLiteral("yyyy.MM.dd hh-mm:ss");
    EXPECT_EQ(FormatOleDate(45429.5, pattern), QStringLiteral("2024.05.17 12-00:00"));
    for (const double date : {0.0, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(FormatOleDate(date, pattern), QStringLiteral("1899.12.30 00-00:00")) << date;
    const double moment = DecodeIsoDate(QStringLiteral("2024-05-17T09:05:59.999Z"));
    EXPECT_EQ(FormatOleDate(moment, pattern), QStringLiteral("2024.05.17 09-05:59")) << "no rounding up";
}

}  // namespace
}  // namespace vexa
