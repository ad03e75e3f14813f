#pragma once
// Show notes for a terminal: the text of an HTML fragment, and its links.

#include <QString>
#include <QStringList>

namespace podcasts::cli {

struct ShowNotes {
    QString Text;
    QStringList Links;  // http, https and mailto, in order, each once
};

ShowNotes ReadShowNotes(const QString& html);

}  // namespace podcasts::cli
