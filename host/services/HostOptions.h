#pragma once
// How a host is to be.

#include <QSet>
#include <QString>

namespace vexa::host {

struct HostOptions {
    QString ProfileFolder;          // the user's data, Settings.ini among them; made when missing
    QString LanguageFolder;         // where the *.lng files are
    QString Language;               // a file's base name ("English"); empty: the one chosen before, else the user's own
    QSet<QString> MissingServices;  // short names of services that this host is to lack
};

}  // namespace vexa::host
