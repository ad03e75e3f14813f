#pragma once
// The functions of the commands, grouped by source file. The table in Commands.cpp gives the commands' names.

#include "Commands.h"
#include "Rows.h"

#include <QJsonArray>

namespace vexa::host::commands {

// Commands.Plugin.cpp
QJsonObject Load(Host& host, const QStringList& arguments);
QJsonObject Without(Host& host, const QStringList& arguments);
QJsonObject Describe(Host& host, const QStringList& arguments);
QJsonObject Unload(Host& host, const QStringList& arguments);
QJsonObject Quit(Host& host, const QStringList& arguments);

// Commands.Files.cpp
QJsonObject Resolve(Host& host, const QStringList& arguments);
QJsonObject Info(Host& host, const QStringList& arguments);
QJsonObject Art(Host& host, const QStringList& arguments);
QJsonObject Folder(Host& host, const QStringList& arguments);
QJsonObject Present(Host& host, const QStringList& arguments);

// Commands.Settings.cpp
QJsonObject Config(Host& host, const QStringList& arguments);
QJsonObject Text(Host& host, const QStringList& arguments);

// Commands.Library.cpp
QJsonObject Storages(Host& host, const QStringList& arguments);
QJsonObject Fields(Host& host, const QStringList& arguments);
QJsonObject ListTree(Host& host, const QStringList& arguments);
QJsonObject Rows(Host& host, const QStringList& arguments);
QJsonObject Count(Host& host, const QStringList& arguments);
QJsonObject Find(Host& host, const QStringList& arguments);
QJsonObject Play(Host& host, const QStringList& arguments);

// Commands.Tasks.cpp
QJsonObject Tasks(Host& host, const QStringList& arguments);
QJsonObject Cancel(Host& host, const QStringList& arguments);
QJsonObject ClickNotification(Host& host, const QStringList& arguments);
QJsonObject Subscribe(Host& host, const QStringList& arguments);
QJsonObject Import(Host& host, const QStringList& arguments);
QJsonObject Export(Host& host, const QStringList& arguments);

// Commands.Finding.cpp
QJsonObject Search(Host& host, const QStringList& arguments);
QJsonObject Preview(Host& host, const QStringList& arguments);

// Commands.Menus.cpp
QJsonObject Menu(Host& host, const QStringList& arguments);
QJsonObject Run(Host& host, const QStringList& arguments);
QJsonObject Select(Host& host, const QStringList& arguments);

// Commands.Playlists.cpp
QJsonObject Playlists(Host& host, const QStringList& arguments);
QJsonObject PlaylistCommand(Host& host, const QStringList& arguments);

// Commands.cpp
QJsonObject Help(Host& host, const QStringList& arguments);

// Parts of answers, which several commands share.

/// What users can choose from, as IVEXAMLSubscriptionChoices hands it over.
QJsonArray ChoicesToJson(IVEXAObjectList* feeds, IVEXAObjectList* titles);
/// The rows of a page, each an object of its values by field name. Throws CommandError for a page with an error.
QJsonArray RowsToJson(const RowPage& page);
/// An OLE Automation date in UTC; null for none.
QJsonValue DateToJson(double date);

}  // namespace vexa::host::commands
