#pragma once
// The look of the program: the style, a light and a dark palette, the font. Main thread.
//
//     WindowTheme theme;                  // after QApplication; follows the desktop's choice from now on
//     connect(&theme, &WindowTheme::Changed, …);

#include <QColor>
#include <QObject>

class QDBusVariant;

namespace vexa::host {

class WindowTheme final : public QObject {
    Q_OBJECT
public:
    enum class Choice { Desktop, Light, Dark };

    explicit WindowTheme(Choice choice = Choice::Desktop, QObject* parent = nullptr);

    Choice Chosen() const noexcept { return FChoice; }
    void Choose(Choice choice);
    bool IsDark() const noexcept;

Q_SIGNALS:
    /// Colours, icons and the style sheet have changed.
    void Changed();

private Q_SLOTS:
    void OnDesktopSetting(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void AskDesktop();
    void Apply();

    Choice FChoice;
    bool FIsDesktopDark = false;
};

/// The colour of less important text; it is legible on the window's background.
QColor FaintText();

}  // namespace vexa::host
