// The manual pages and the completion, compared with the programs that they describe.

#include "Program.h"

#include <QRegularExpression>

namespace {

class Desktop : public Program {
protected:
    /// The first captured group of every match, in order.
    static QStringList All(const QString& text, const QString& pattern) {
        QStringList found;
        auto matches = QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
        while (matches.hasNext()) found += matches.next().captured(1);
        found.sort();
        return found;
    }
    static QString Page(const QString& program) {
        return QString::fromUtf8(ReadWhole(QStringLiteral(DESKTOP) + u"/man/" + program + u".1"));
    }
    /// The options in one entry or in a whole manual page.
    static QStringList OptionsIn(const QString& page) { return All(page, u"^\\.It Fl -(\\S+)"_s); }
    /// The options that the help lists under that title.
    static QStringList OptionsOf(const QString& help, const QString& title) {
        return All(help.section(title, 1).section(u"\n\n"_s, 0, 0), u"^  .*--(\\S+)  ?"_s);
    }
    static QStringList Commands() {
        return All(RunWith("--help").Out.section(u"Commands:"_s, 1).section(u"\n\n"_s, 0, 0), u"^  (\\S+)"_s);
    }
    /// Compares the words that the completion offers at the end of each line with those beside it, in any order.
    static void ExpectOffers(const std::vector<std::pair<QString, QStringList>>& cases) {
        QStringList words{u"--norc"_s, u"-c"_s,
                          u"source \"$1\"; shift; for COMP_LINE; do COMP_POINT=${#COMP_LINE}; _podcasts; "
                          "echo \"${COMPREPLY[@]}\"; done"_s,
                          u"bash"_s, QStringLiteral(DESKTOP) + u"/completion/podcasts.bash"};
        for (const auto& [line, offers] : cases) words += PODCASTS + line;
        QProcess bash;
        bash.start(u"bash"_s, words);
        const Result result = Finish(bash);
        EXPECT_EQ(result.Error, "");
        const QStringList said = result.Out.split('\n');
        for (std::size_t i = 0; i < cases.size(); ++i) {
            QStringList offers = said.value(static_cast<int>(i)).split(' ', Qt::SkipEmptyParts);
            offers.sort();
            EXPECT_EQ(offers, cases[i].second) << cases[i].first.toStdString();
        }
    }
};

TEST_F(Desktop, ManualAndCompletionNameEveryCommandAndOptionAndNoOther) {
    const QString page = Page("podcasts");
    const QStringList commands = Commands();
    ASSERT_FALSE(commands.isEmpty());
    EXPECT_EQ(All(page, u"^\\.It Cm (\\S+)"_s), commands);
    const QStringList entries = page.section(u".Sh SIGNALS"_s, 0, 0).split(".It Cm ");
    QStringList global = OptionsIn(entries.first());
    EXPECT_EQ(global.removeAll(QString()), 0);
    EXPECT_EQ(global, OptionsOf(RunWith("--help").Out, "\nGlobal options"));
    std::vector<std::pair<QString, QStringList>> offers{{" ", commands}};
    for (const QString& entry : entries.mid(1)) {
        const QString command = entry.section(QRegularExpression("\\s"), 0, 0);
        const QString help = RunWith(command + " --help").Out;
        EXPECT_EQ(OptionsIn(entry), OptionsOf(help, "\nOptions:")) << command.toStdString();
        offers.emplace_back(' ' + command + " --", All(help, u"^  (--\\S+)"_s));
    }
    ExpectOffers(offers);
}

TEST_F(Desktop, TheManualOfThePlayerNamesEveryOptionAndNoOther) {
    QProcess vexa;
    vexa.start(VEXA, {u"--headless"_s, u"--help"_s});
    const Result help = Finish(vexa);
    ASSERT_EQ(help.Status, 0);
    EXPECT_EQ(All(Page("vexa"), u"^\\.It Fl -([a-z-]+)"_s), All(help.Out, u"^  .*?--([a-z-]+) .*  "_s));
}

TEST_F(Desktop, CompletionOffersTheContentsOfTheProfile) {
    Subscribe("Show", 2);
    QStringList keys = Keys(), tails;
    keys.sort();
    for (const QString& key : keys) tails += key.section(':', 1);
    const QStringList states{"listened", "new", "postponed"};
    std::vector<std::pair<QString, QStringList>> cases = {
        {"refresh ", {"1"}},
        {"refresh 1 ", {"1"}},
        {"set-address 1 ", {}},
        {"mark ", states},
        {"episodes --state ", states},
        {"episodes 1 --limit 3 --state=l", {"listened"}},
        {"mark new ", keys},
        {"mark new " + keys[0] + ' ', keys},
        {"--json download ", keys},
        {"show 1:", tails},  // a shell that splits words at ":" replaces only the part after it
        {"show -- ", keys},
        {"show -- --", {}},
        {"options Mark", {"MarkEpisodesListenedOnStartPlayback"}},
        {"feed-options 1 K", {"KeepFiles"}},
        {"nonsense ", {}},
    };
    for (auto& each : cases) each.first.prepend(" --profile " + Profile.Path() + ' ');
    ExpectOffers(cases);
}

}  // namespace
