#pragma once
// Show notes. They come from feeds and are not trusted: nothing is loaded for them, and a link opens outside the
// program or not at all. Main thread.

#include <QTextBrowser>

namespace vexa::host {

/// Notes as harmless HTML. Of notes with markup, structure and links are kept; colours, fonts and pictures are dropped.
/// Plain notes keep their line breaks. Addresses in the text and times such as 1:02:34 become links; the link of a time
/// is "seek:" followed by its seconds.
QString ShowNotesHtml(const QString& notes);

/// Whether the link may be opened: schemes such as file: may not.
bool IsWebLink(const QUrl& link);

class ShowNotes final : public QTextBrowser {
    Q_OBJECT
public:
    explicit ShowNotes(QWidget* parent = nullptr);

    void SetNotes(const QString& notes);
    /// Loads nothing: the name of a picture might be that of a device or an address in a network.
    QVariant loadResource(int type, const QUrl& name) override;

Q_SIGNALS:
    void SeekWanted(double seconds);

protected:
    /// Links have their colour from the palette that the notes were set with.
    void changeEvent(QEvent* event) override;

private:
    void Open(const QUrl& link);

    QString FText;
};

}  // namespace vexa::host
