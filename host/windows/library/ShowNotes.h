#pragma once
// Show notes, which feeds write and nobody may trust: nothing is loaded for them, and a link opens outside or not at
// all. Main thread.

#include <QTextBrowser>

namespace vexa::host {

/// Notes as harmless HTML: of marked-up ones the structure and the links are kept, colours, fonts and pictures are not;
/// plain ones keep their line breaks. Addresses in the text, and times such as 1:02:34, become links; a time's is
/// "seek:" with its seconds.
QString ShowNotesHtml(const QString& notes);

class ShowNotes final : public QTextBrowser {
    Q_OBJECT
public:
    explicit ShowNotes(QWidget* parent = nullptr);

    void SetNotes(const QString& notes);
    /// Nothing, whatever is asked for: a picture's name may be that of a device, or of a network's address.
    QVariant loadResource(int type, const QUrl& name) override;

Q_SIGNALS:
    void SeekWanted(double seconds);

private:
    void Open(const QUrl& link);
};

}  // namespace vexa::host
