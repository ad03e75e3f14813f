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
    /// The words that the completion offers at the end of a line.
    static QStringList Offers(const QString& line) {
        QProcess bash;
        bash.start(u"bash"_s,
                   {u"--norc"_s, u"-c"_s,
                    u"source \"$1\"; COMP_LINE=$2 COMP_POINT=${#2}; _podcasts; printf '%s\\n' \"${COMPREPLY[@]}\""_s,
                    u"bash"_s, QStringLiteral(DESKTOP) + u"/completion/podcasts.bash", PODCASTS + line});
        const Result result = Finish(bash);
        EXPECT_EQ(result.Error, "") << line.toStdString();
        QStringList offers = result.Out.split('\n', Qt::SkipEmptyParts);
        offers.sort();
        return offers;
    }
};

TEST_F(Desktop, TheManualNamesEveryCommandAndOptionAndNoOther) {
    const QString page = Page("podcasts");
    ASSERT_FALSE(Commands().isEmpty());
    EXPECT_EQ(All(page, u"^\\.It Cm (\\S+)"_s), Commands());
    const QStringList entries = page.section(u".Sh SIGNALS"_s, 0, 0).split(".It Cm ");
    QStringList global = OptionsIn(entries.first());
    EXPECT_EQ(global.removeAll(QString()), 0);
    EXPECT_EQ(global, OptionsOf(RunWith("--help").Out, "\nGlobal options"));
    for (const QString& entry : entries.mid(1)) {
        const QString command = entry.section(QRegularExpression("\\s"), 0, 0);
        EXPECT_EQ(OptionsIn(entry), OptionsOf(RunWith(command + " --help").Out, "\nOptions:")) << command.toStdString();
    }
}

TEST_F(Desktop, TheManualOfThePlayerNamesEveryOptionAndNoOther) {
    QProcess vexa;
    vexa.start(VEXA, {u"--headless"_s, u"--help"_s});
    const Result help = Finish(vexa);
    ASSERT_EQ(help.Status, 0);
    EXPECT_EQ(All(Page("vexa"), u"^\\.It Fl -([a-z-]+)"_s), All(help.Out, u"^  .*?--([a-z-]+) .*  "_s));
}

TEST_F(Desktop, CompletionOffersEveryCommandAndOptionAndNoOther) {
    EXPECT_EQ(Offers(" "), Commands());
    for (const QString& command : Commands()) {
        QStringList options;
        for (const QString& option : All(RunWith(command + " --help").Out, u"^  (--\\S+)"_s)) options += option;
        EXPECT_EQ(Offers(' ' + command + " --"), options) << command.toStdString();
    }
}

TEST_F(Desktop, CompletionOffersTheContentsOfTheProfile) {
    Subscribe("Show", 2);
    QStringList keys = Keys(), tails;
    keys.sort();
    for (const QString& key : keys) tails += key.section(':', 1);
    const QStringList states{"listened", "new", "postponed"};
    const std::pair<QString, QStringList> cases[] = {
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
    for (const auto& [line, offers] : cases)
        EXPECT_EQ(Offers(" --profile " + Profile.Path() + ' ' + line), offers) << line.toStdString();
}

}  // namespace
