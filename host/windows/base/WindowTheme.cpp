#include "WindowTheme.h"

#include "WindowIcons.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFontDatabase>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace vexa::host {

namespace {

constexpr double kFontSize = 10;  // points
constexpr int kRowMargin = 5;
constexpr int kOutlineDarkening = 140;  // per cent, as Fusion darkens the window's colour
constexpr uint kPrefersDark = 1;        // the value of the desktop portal's color-scheme

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

struct Colours {
    QRgb Window, Base, Alternate, Text, Faint, Button, Line, Outline, Selection, Accent, Thumb, Link;
};
// All texts have a contrast of at least 4.5 to 1 on their backgrounds, the outlines of input controls at least 3 to 1.
constexpr Colours kLight = {0xfff4f4f6, 0xffffffff, 0xfff8f8fa, 0xff1d1f24, 0xff5c6270, 0xfffafafb,
                            0xffdcdee4, 0xff868b96, 0xffd3e1fb, 0xff2f62c9, 0xffc2c6d0, 0xff1f55bf};
constexpr Colours kDark = {0xff1f2126, 0xff17191d, 0xff1b1d22, 0xffe6e8ec, 0xffa2a8b4, 0xff2a2d34,
                           0xff33373f, 0xff757b87, 0xff2c4373, 0xff3f70d8, 0xff4a4f5a, 0xff8ab0ff};

/// Fusion, but with flat rows in views and some margin around their texts.
class FlatStyle final : public QProxyStyle {
public:
    FlatStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
        if (metric == PM_FocusFrameHMargin && qobject_cast<const QAbstractItemView*>(widget)) return kRowMargin;
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* answer) const override {
        if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
        return QProxyStyle::styleHint(hint, option, widget, answer);
    }
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        const bool isRow = element == PE_PanelItemViewItem || element == PE_PanelItemViewRow;
        if (!isRow || !(option->state & State_Selected))
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        // Only one view shows by its colour that the keyboard acts on it.
        const bool hasFocus = !widget || widget->hasFocus();
        painter->fillRect(option->rect, option->palette.brush(hasFocus ? QPalette::Highlight : QPalette::Mid));
    }
};

bool IsDarkPalette() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

QPalette PaletteOf(const Colours& c) {
    QPalette palette;
    palette.setColor(QPalette::Window, c.Window);
    palette.setColor(QPalette::WindowText, c.Text);
    palette.setColor(QPalette::Base, c.Base);
    palette.setColor(QPalette::AlternateBase, c.Alternate);
    palette.setColor(QPalette::Text, c.Text);
    palette.setColor(QPalette::PlaceholderText, c.Faint);
    palette.setColor(QPalette::Button, c.Button);
    palette.setColor(QPalette::ButtonText, c.Text);
    palette.setColor(QPalette::BrightText, c.Text);
    palette.setColor(QPalette::ToolTipBase, c.Button);
    palette.setColor(QPalette::ToolTipText, c.Text);
    palette.setColor(QPalette::Highlight, c.Accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, c.Link);
    palette.setColor(QPalette::LinkVisited, c.Link);
    palette.setColor(QPalette::Light, QColor(c.Button).lighter(108));
    palette.setColor(QPalette::Midlight, c.Line);
    palette.setColor(QPalette::Mid, c.Line);
    palette.setColor(QPalette::Dark, QColor(c.Line).darker(115));
    palette.setColor(QPalette::Shadow, QColor(c.Line).darker(150));
    const QColor disabled = [&] {
        const QColor text(c.Faint);
        return QColor(text.red(), text.green(), text.blue(), 150);
    }();
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    return palette;
}

QString SheetOf(const Colours& c) {
    const auto name = [](QRgb colour) { return QColor(colour).name(); };
    return QStringLiteral(
               "QMainWindow::separator{background:%1;width:1px;height:1px}"
               "QSplitter::handle{background:%1}"
               "QHeaderView{background:%2;border:none}"
               "QHeaderView::section{background:%2;color:%3;border:none;border-bottom:1px solid %1;"
               "padding:6px 6px 6px 6px;font-weight:normal}"
               "QTableView,QTreeView,QListView{border:none;outline:none}"
               "QStatusBar{border-top:1px solid %1}"
               "QStatusBar::item{border:none}"
               "QMenuBar{border-bottom:1px solid %1}"
               "QToolTip{border:1px solid %1;padding:3px}"
               "QProgressBar{border:none;border-radius:2px;background:%1;max-height:4px;min-height:4px}"
               "QProgressBar::chunk{border-radius:2px;background:%4}"
               "QLabel#Faint{color:%3}"
               "QLabel#PaneTitle{color:%3;padding:6px 8px}"
               "QScrollBar{background:transparent;border:none;margin:0}"
               "QScrollBar:vertical{width:12px}QScrollBar:horizontal{height:12px}"
               "QScrollBar::handle{background:%6;border-radius:3px;margin:3px}"
               "QScrollBar::handle:vertical{min-height:36px}QScrollBar::handle:horizontal{min-width:36px}"
               "QScrollBar::handle:hover{background:%3}"
               "QScrollBar::add-line,QScrollBar::sub-line{width:0;height:0}"
               "QScrollBar::add-page,QScrollBar::sub-page{background:transparent}"
               "QFrame#Line{background:%1;border:none;max-height:1px;min-height:1px}"
               "QFrame#Banner{background:%5;border:none;border-top:1px solid %1}"
               "QFrame#Card{background:%5;border:1px solid %1;border-radius:8px}")
        .arg(name(c.Line), name(c.Base), name(c.Faint), name(c.Accent), name(c.Button), name(c.Thumb));
}

}  // namespace

WindowTheme::WindowTheme(Choice choice, QObject* parent)
    : QObject(parent), FChoice(choice), FIsDesktopDark(IsDarkPalette()) {
    QApplication::setStyle(new FlatStyle);
    QFont font = QApplication::font();
    for (const QString& family : {QStringLiteral("Inter"), QStringLiteral("DejaVu Sans")})
        if (QFontDatabase::hasFamily(family)) {
            font.setFamily(family);
            break;
        }
    font.setPointSizeF(kFontSize);
    QApplication::setFont(font);
    Apply();
    AskDesktop();
}

bool WindowTheme::IsDark() const noexcept {
    return FChoice == Choice::Desktop ? FIsDesktopDark : FChoice == Choice::Dark;
}

void WindowTheme::Choose(Choice choice) {
    if (FChoice == choice) return;
    FChoice = choice;
    Apply();
}

void WindowTheme::AskDesktop() {
    // Asynchronous, because the bus may have to start the portal first.
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(kPortal, kPortalPath, kSettings, QStringLiteral("SettingChanged"), this,
                SLOT(OnDesktopSetting(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(kPortal, kPortalPath, kSettings, QStringLiteral("Read"));
    read << kGroup << kKey;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) OnDesktopSetting(kGroup, kKey, reply.value());
    });
}

void WindowTheme::OnDesktopSetting(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group != kGroup || key != kKey) return;
    QVariant inner = value.variant();
    while (inner.canConvert<QDBusVariant>()) inner = inner.value<QDBusVariant>().variant();
    const bool isDark = inner.toUInt() == kPrefersDark;
    if (std::exchange(FIsDesktopDark, isDark) != isDark && FChoice == Choice::Desktop) Apply();
}

void WindowTheme::Apply() {
    const Colours& colours = IsDark() ? kDark : kLight;
    QPalette palette = PaletteOf(colours);
    ForgetWindowIcons();  // first, because widgets ask for their icons as soon as the palette changes
    QApplication::setPalette(palette);
    // Selected rows are many and large, so they get only a tint, on which texts keep their colour.
    palette.setColor(QPalette::Highlight, colours.Selection);
    palette.setColor(QPalette::HighlightedText, colours.Text);
    QApplication::setPalette(palette, "QAbstractItemView");
    // The style derives a control's outline by darkening the window's colour; on a dark window it would be invisible.
    palette = PaletteOf(colours);
    palette.setColor(QPalette::Window, QColor(colours.Outline).lighter(kOutlineDarkening));
    for (const char* control : {"QCheckBox", "QRadioButton", "QLineEdit", "QAbstractSpinBox", "QComboBox", "QSlider"})
        QApplication::setPalette(palette, control);
    if (auto* application = qobject_cast<QApplication*>(QCoreApplication::instance()))
        application->setStyleSheet(SheetOf(colours));
    Q_EMIT Changed();
}

QColor FaintText() {
    return QApplication::palette().color(QPalette::PlaceholderText);
}

}  // namespace vexa::host
