#include "Commands.h"

#include "Podcasts.Core.ForeignLibraries.h"
#include "Podcasts.Find.Directories.h"

namespace podcasts::cli {

namespace {
QString operator""_s(const char16_t* text, std::size_t size) {
    return QString::fromUtf16(text, static_cast<qsizetype>(size));
}

QString FeedOptionNames() {
    QStringList names;
    for (const auto& option : PodcastFeedOptions()) names += option.Name();
    return names.join(QStringLiteral(", "));
}

/// What each directory of podcasts learns, a line each.
QString Directories() {
    QString lines;
    for (const auto& directory : PodcastDirectories())
        lines += u"\n  " + QString::fromLatin1(directory.Name) + u": " + QString::fromUtf8(directory.Learns.English) +
                 (directory.NeedsKey ? u" (asked if you have set its key and secret)" : u"");
    return lines;
}
}  // namespace

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {u"find"_s,
         u"[WORDS] [--limit N]"_s,
         u"find podcasts by words in directories on the web; without words, the most popular ones\n"
         "Columns: \"*\" when subscribed, title, author, number of episodes, date of the newest, address of the feed.\n"
         "Directories (podcasts options AskStore 0, for instance, has one not asked):"_s +
             Directories(),
         {{u"--limit"_s, u"N"_s, u"at most N podcasts; 50 unless given"_s}},
         0,
         -1,
         true,
         RunFind,
         CheckFind},
        {u"subscribe"_s,
         u"LOCATION… [--feed N]"_s,
         u"subscribe to feeds by address, by a page that names one, or by local *.xml file\n"
         "Each document is fetched, checked and stored. An address may lack its scheme."_s,
         {{u"--feed"_s, u"N"_s, u"the N-th of the feeds that a page names"_s}},
         1,
         -1,
         false,
         RunSubscribe,
         CheckSubscribe},
        {u"unsubscribe"_s,
         u"FEED… [--delete-files]"_s,
         u"end subscriptions\nBefore it ends more than ten, a backup is made."_s,
         {{u"--delete-files"_s, {}, u"move their downloaded files to the trash"_s}},
         1,
         -1,
         false,
         RunUnsubscribe},
        {u"feeds"_s,
         {},
         u"list the subscriptions\nColumns: id, title, address, new, postponed and all episodes."_s,
         {},
         0,
         0,
         true,
         RunFeeds},
        {u"episodes"_s,
         u"[FEED] [--state STATE] [--search TEXT] [--limit N] [--offset N]"_s,
         u"list episodes, newest first\nColumns: key, date, state, duration, \"*\" when downloaded, title and feed."_s,
         {{u"--state"_s, u"STATE"_s, u"only those that are listened, new or postponed"_s},
          {u"--search"_s, u"TEXT"_s, u"only those whose title, artist or feed holds TEXT"_s},
          {u"--limit"_s, u"N"_s, u"at most N of them"_s},
          {u"--offset"_s, u"N"_s, u"without the first N"_s}},
         0,
         1,
         true,
         RunEpisodes,
         CheckEpisodes},
        {u"show"_s, u"KEY"_s, u"show everything about one episode"_s, {}, 1, 1, false, RunShow},
        {u"refresh"_s,
         u"[FEED…]"_s,
         u"fetch feeds and store what is new; all feeds when none is named"_s,
         {},
         0,
         -1,
         true,
         RunRefresh},
        {u"download"_s,
         u"KEY… | --new"_s,
         u"download episodes"_s,
         {{u"--new"_s, {}, u"all new episodes without a file"_s}},
         0,
         -1,
         true,
         RunDownload,
         CheckDownload},
        {u"delete-files"_s,
         u"KEY… [--permanently]"_s,
         u"move episodes' files to the trash"_s,
         {{u"--permanently"_s, {}, u"delete them for good instead"_s}},
         1,
         -1,
         false,
         RunDeleteFiles},
        {u"mark"_s,
         u"STATE KEY…"_s,
         u"mark episodes listened, new or postponed"_s,
         {},
         2,
         -1,
         false,
         RunMark,
         CheckMark},
        {u"check-files"_s, {}, u"forget downloaded files that are gone"_s, {}, 0, 0, false, RunCheckFiles},
        {u"move-files"_s,
         u"OLD NEW [--dry-run]"_s,
         u"find downloaded files again whose folder has moved from OLD to NEW"_s,
         {{u"--dry-run"_s, {}, u"only say what would be found"_s}},
         2,
         2,
         false,
         RunMoveFiles},
        {u"set-address"_s, u"FEED ADDRESS"_s, u"change a feed's address"_s, {}, 2, 2, false, RunSetAddress},
        {u"options"_s, u"[NAME [VALUE]]"_s, u"show or change the options"_s, {}, 0, 2, false, RunOptions},
        {u"feed-options"_s,
         u"FEED [OPTION [VALUE]]"_s,
         u"show or change one feed's own options\nOptions: "_s + FeedOptionNames() +
             u"\nA list shows in brackets what the general option of that name says."_s,
         {},
         1,
         3,
         true,
         RunFeedOptions},
        {u"backup"_s,
         u"[FILE | --list]"_s,
         u"make a backup of the profile, in its folder Backups or in FILE"_s,
         {{u"--list"_s, {}, u"list the backups of the profile, newest first, with their sizes"_s}},
         0,
         1,
         false,
         nullptr,
         CheckBackup,
         RunBackup},
        {u"restore"_s,
         u"FILE | DATE [--dry-run]"_s,
         u"put the profile back to the state of a backup\n"
         "DATE is what \"podcasts backup --list\" prints, or its beginning: the newest of that day."_s,
         {{u"--dry-run"_s, {}, u"only say what would change"_s}},
         1,
         2,
         false,
         nullptr,
         nullptr,
         RunRestore},
        {u"check"_s,
         u"[--repair]"_s,
         u"check whether the database is damaged"_s,
         {{u"--repair"_s, {}, u"replace a damaged one by all that can be read of it and of the newest backup"_s}},
         0,
         0,
         false,
         nullptr,
         nullptr,
         RunCheck},
        {u"import"_s,
         u"FILE [--settings] [--from PROGRAM]"_s,
         u"take over an OPML list, or a library that export --everything wrote\n"
         "The feeds of a list are fetched; a library needs no network. What is stored already stays.\n"
         "Programs: "_s +
             ForeignPrograms().join(u", "),
         {{u"--settings"_s, {}, u"take the library's settings over those of the profile"_s},
          {u"--from"_s, u"PROGRAM"_s, u"the file is the database of another program"_s}},
         1,
         1,
         false,
         RunImport,
         CheckImport},
        {u"export"_s,
         u"[FILE] [--everything]"_s,
         u"write the subscriptions as an OPML list, or the whole library"_s,
         {{u"--everything"_s, {}, u"with episodes, marks, files' names, positions, queue and settings, as JSON"_s}},
         0,
         1,
         false,
         RunExport},
    };
    return commands;
}

}  // namespace podcasts::cli
