#pragma once
// Show notes on a terminal: the text of an HTML fragment, and its links.

#include <QString>
#include <QStringList>

namespace podcasts::cli {

struct ShowNotes {
    QString Text;
    QStringList Links;  // http, https and mailto addresses in order, each once
};

ShowNotes ReadShowNotes(const QString& html);

}  // namespace podcasts::cli
