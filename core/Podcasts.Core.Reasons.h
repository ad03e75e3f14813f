#pragma once
// The texts of the engine's reasons (see VEXA.Runtime.Reason.h). Each of them is in every language file, under the same
// key and with the same places; in English.lng with the same words.

#include "VEXA.Runtime.Reason.h"

namespace podcasts {

inline constexpr vexa::ReasonText kCoreReasons[] = {
    // Documents: %1 is one of the kinds below.
    {"Podcasts.Reasons\\NotAFeed", "the document is %1, not a feed"},
    {"Podcasts.Reasons\\OtherFeed", "the document is %1; only RSS 2.0 feeds and feeds of the iTunes store can be read"},
    {"Podcasts.Reasons\\HtmlPage", "an HTML page"},
    {"Podcasts.Reasons\\OpmlList", "an OPML list of subscriptions"},
    {"Podcasts.Reasons\\Json", "a JSON document"},
    {"Podcasts.Reasons\\Gzip", "a gzip archive"},
    {"Podcasts.Reasons\\Media", "an audio or video file"},
    {"Podcasts.Reasons\\RssWithoutChannel", "an RSS document without a channel"},
    {"Podcasts.Reasons\\RssWithoutVersion", "an RSS feed without a version"},
    {"Podcasts.Reasons\\RssVersion", "an RSS feed of version \"%1\""},
    {"Podcasts.Reasons\\RssCapitals", "an RSS feed whose tags are not in small letters"},
    {"Podcasts.Reasons\\Rdf", "an RSS 1.0 (RDF) feed"},
    {"Podcasts.Reasons\\Atom", "an Atom feed"},
    {"Podcasts.Reasons\\UnknownDocument", "the document is neither an RSS 2.0 feed nor a feed of the iTunes store"},
    {"Podcasts.Reasons\\Damaged", "the document is damaged: only %1 of its %2 items can be read"},
    {"Podcasts.Reasons\\NoOpmlList", "the document is no OPML subscription list (it has no opml and body elements)"},

    // Addresses
    {"Podcasts.Reasons\\NoLocation", "this is neither an http or https address nor an existing .xml file"},
    {"Podcasts.Reasons\\SeveralFeeds", "the page names %1 feeds: take the address of one"},
    {"Podcasts.Reasons\\NoFeedOfNumber", "the page names %1 feeds; there is none with the number %2"},
    {"Podcasts.Reasons\\NamedFeed", "the page names the feed %1, but %2"},

    // Files
    {"Podcasts.Reasons\\Unreadable", "the file cannot be read: %1"},
    {"Podcasts.Reasons\\CannotRead", "cannot read %1: %2"},
    {"Podcasts.Reasons\\CannotWrite", "cannot write %1: %2"},
    {"Podcasts.Reasons\\CannotCreateFolder",
     "cannot create the folder %1; check that the folder above it exists and is writable"},
    {"Podcasts.Reasons\\CannotCreateFile", "cannot create the file %1: %2"},
    {"Podcasts.Reasons\\CannotWriteFile", "cannot write the file %1: %2"},
    {"Podcasts.Reasons\\NameTaken", "something else has this name"},
    {"Podcasts.Reasons\\FileBusy", "another program is writing the file %1; try again when it has finished"},
    {"Podcasts.Reasons\\FileGone", "the file %1 was taken away while it was downloaded"},

    // Downloads
    {"Podcasts.Reasons\\NoEpisode", "there is no such episode"},
    {"Podcasts.Reasons\\NoAudio", "the episode has no audio file"},
    {"Podcasts.Reasons\\NotStored", "the episode is not stored any more"},
    {"Podcasts.Reasons\\NoFullName", "the file-name template gives no full file name, but \"%1\""},
    {"Podcasts.Reasons\\WebPage", "the server sent a web page in place of the audio"},
    {"Podcasts.Reasons\\EmptyFile", "the server sent an empty file"},
    {"Podcasts.Reasons\\MoreThanAnnounced", "the server sent more than the file that it announced"},
    {"Podcasts.Reasons\\EndedEarly", "the server ended before the whole file had arrived"},
    {"Podcasts.Reasons\\NotContinued", "the connection broke, and the server does not go on with the file; try again"},
    {"Podcasts.Reasons\\Stopped", "not done: the work was stopped before"},

    // Undoing
    {"Podcasts.Reasons\\SubscribedAgain", "you have subscribed to this podcast again"},
    {"Podcasts.Reasons\\FilesNotInTrash", "%1 of its files are not in the trash any more"},

    // Backups
    {"Podcasts.Reasons\\NothingToBackUp", "there is no database in the profile %1"},
    {"Podcasts.Reasons\\BackupBusy", "another program is making or restoring a backup; try again in a moment"},
    {"Podcasts.Reasons\\BackupFailed", "no backup could be made first: %1"},
    {"Podcasts.Reasons\\NoBackup", "%1 is not a backup: %2"},
    {"Podcasts.Reasons\\NoPodcasts", "it holds no podcasts"},
    {"Podcasts.Reasons\\ProfileInUse", "another program has the profile %1 open; end it first"},
    {"Podcasts.Reasons\\DatabaseDamage", "the database %1 is damaged: %2"},
    // %1 is the folder with the damaged database, %2 the date of the backup.
    {"Podcasts.Reasons\\DamageReplaced",
     "the database was damaged, and the backup of %2 has taken its place; what has changed since then is missing. The "
     "damaged one is in %1: \"podcasts check --repair\" brings back what can be read of it"},
    {"Podcasts.Reasons\\DamageWithoutBackup",
     "the database was damaged, and there is no backup. The damaged one is in %1: \"podcasts check --repair\" brings "
     "back what can be read of it"},
    {"Podcasts.Reasons\\DamageFound",
     "the database is damaged, so that nothing is stored any more; when the player starts the next time, the newest "
     "backup takes its place"},
    {"Podcasts.Reasons\\DamageNoted", "a check has found damage; \"podcasts check --repair\" repairs it"},

    // The database: %1 is the file, %2 a table and a column.
    {"Podcasts.Reasons\\NewerDatabase",
     "cannot open the database %1: a newer version of this program has written it (it holds the column %2); update the "
     "program"},
};

consteval const vexa::ReasonText& CoreReason(std::string_view name) {
    return vexa::FindReason(kCoreReasons, name);
}

}  // namespace podcasts
