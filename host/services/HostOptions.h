#pragma once
// The options a host is made with.

#include <QSet>
#include <QString>

namespace vexa::host {

struct HostOptions {
    QString ProfileFolder;          // the user's data, including Settings.ini; created when missing
    QString LanguageFolder;         // contains the *.lng files
    QString Language;               // a file's base name ("English"); empty: the one chosen before, else the user's own
    QSet<QString> MissingServices;  // short names of the services that the host hides from plug-ins
};

}  // namespace vexa::host
