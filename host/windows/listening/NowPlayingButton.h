#pragma once
// What plays: its picture, and its title over the name of what it belongs to. Texts without room end with "…", and the
// tool tip has them whole. Nothing is shown while there is no title, but the place stays, so that nothing moves when
// playback starts. Main thread.

#include <QAbstractButton>
#include <QPixmap>

namespace vexa::host {

class NowPlayingButton final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int kCoverSide = 56;

    explicit NowPlayingButton(QWidget* parent = nullptr);

    /// Plain texts of feeds. Hidden without a title.
    void SetTexts(const QString& title, const QString& below);
    /// A square of kCoverSide pixels; null for none.
    void SetCover(const QPixmap& cover);
    const QPixmap& Cover() const noexcept { return FCover; }

    QSize sizeHint() const override { return {3 * kCoverSide, kCoverSide}; }
    QSize minimumSizeHint() const override { return {2 * kCoverSide, kCoverSide}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    QString FBelow;
    QPixmap FCover;
};

}  // namespace vexa::host
