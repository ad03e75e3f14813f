#pragma once
// A plain text of at most a few lines. What has no room ends with "…", and the tool tip is the whole text. Main thread.

#include <QWidget>

class QTextLayout;

namespace vexa::host {

class ClampedLabel final : public QWidget {
    Q_OBJECT
public:
    explicit ClampedLabel(int maxLines, QWidget* parent = nullptr);

    void SetText(const QString& text);
    const QString& Text() const noexcept { return FText; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override { return {0, heightForWidth(width())}; }
    QSize minimumSizeHint() const override { return {0, fontMetrics().height()}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    /// Breaks the text into lines of this width; returns the number of lines, no more than are shown.
    int Break(QTextLayout& layout, int width) const;

    const int FMaxLines;
    QString FText;
};

}  // namespace vexa::host
