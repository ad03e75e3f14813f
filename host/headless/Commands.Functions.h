#pragma once
// The functions of the commands, by the file that they stand in. Commands.cpp says what each is called by.

#include "Commands.h"

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

// Commands.Settings.cpp
QJsonObject Config(Host& host, const QStringList& arguments);
QJsonObject Text(Host& host, const QStringList& arguments);

// Commands.cpp
QJsonObject Help(Host& host, const QStringList& arguments);

}  // namespace vexa::host::commands
