#pragma once
// Show notes and descriptions as plain text: the text of an HTML fragment, and its links. Any thread.

#include <QString>
#include <QStringList>

namespace podcasts {

struct TPodcastShowNotes {
    QString Text;
    QStringList Links;  // http, https and mailto addresses in order, each once
};

TPodcastShowNotes ReadShowNotes(const QString& html);

}  // namespace podcasts
