// The tables of reasons, and what the language files hold of them.

#include "HostReasons.h"
#include "LanguageFile.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Find.Reasons.h"
#include "VEXA.Runtime.Reasons.h"

#include <gtest/gtest.h>

#include <map>
#include <span>

namespace vexa {
namespace {

// The other languages have the keys and the places of English; that is tested with the language service.
TEST(Reasons, AreInTheEnglishLanguageFileWordForWord) {
    std::map<std::string, std::string> inFile;
    const auto english = host::LanguageFile::Load(QStringLiteral(LANGUAGES "/English.lng"));
    for (const QString& key : english.KeyPaths())
        if (key.section(u'\\', 0, 0).endsWith(u"Reasons"))
            inFile[key.toStdString()] = english.Find(key)->join(u'|').toStdString();
    for (const std::span<const ReasonText> table :
         {std::span<const ReasonText>(kRuntimeReasons), std::span<const ReasonText>(podcasts::kCoreReasons),
          std::span<const ReasonText>(podcasts::kFindReasons), std::span<const ReasonText>(host::kHostReasons)}) {
        for (const ReasonText& text : table) {
            EXPECT_EQ(inFile[text.Key], text.English) << text.Key;
            inFile.erase(text.Key);
        }
    }
    for (const auto& [key, text] : inFile) ADD_FAILURE() << "no table has " << key;
}

TEST(Reasons, AreTranslatedWithTheReasonsInThem) {
    const ReasonText outer{"S\\Outer", "%2 of %1, because %3"}, inner{"S\\Inner", "of %1"}, other{"S\\Other", "none"};
    const Reason why(outer, {QString("%2"), Reason(inner, {QString("x")}), Reason(other)});
    EXPECT_EQ(why.English(), "of x of %2, because none");
    const std::map<QString, QString> texts{{"S\\Outer", "%1: %3, %2, 5 %"}, {"S\\Inner", "%1!"}};
    const auto find = [&](const QString& key) { return texts.contains(key) ? texts.at(key) : QString(); };
    EXPECT_EQ(why.Translated(find), "%2: none, x!, 5 %");
    EXPECT_EQ(Reason().Translated(find), QString());
    try {
        throw ReasonError(why);
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "of x of %2, because none");
        EXPECT_EQ(CaughtReason().Translated(find), "%2: none, x!, 5 %");
    }
}

}  // namespace
}  // namespace vexa
