#include "SeekBar.h"

#include "RowTexts.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>

namespace vexa::host {

namespace {
constexpr int kNotchSeconds = 5;
constexpr int kPageSeconds = 60;
constexpr int kTickWidth = 2, kTickHeight = 8;
}  // namespace

SeekBar::SeekBar(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    setTracking(false);
    setMouseTracking(true);
    setPageStep(kPageSeconds);
    connect(this, &QSlider::valueChanged, this, [this](int seconds) {
        if (FIsShowing) return;
        const int wanted = std::min(seconds, Last());
        if (wanted != seconds) {
            const QScopedValueRollback showing(FIsShowing, true);
            setValue(wanted);
        }
        Q_EMIT SeekWanted(wanted);
    });
}

void SeekBar::Show(double position, double duration) {
    if (isSliderDown()) return;
    const QScopedValueRollback showing(FIsShowing, true);
    setRange(0, static_cast<int>(duration));
    setValue(static_cast<int>(position));
}

int SeekBar::Last() const {
    return std::max(maximum() - 1, 0);
}

int SeekBar::SecondsAt(int x) const {
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect groove = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const int handle = style()->pixelMetric(QStyle::PM_SliderLength, &option, this);
    return QStyle::sliderValueFromPosition(minimum(), maximum(), x - groove.x() - handle / 2, groove.width() - handle,
                                           option.upsideDown);
}

void SeekBar::SetChapters(std::vector<Chapter> chapters) {
    FChapters = std::move(chapters);
    update();
}

QString SeekBar::TextAt(int seconds) const {
    const auto later = std::upper_bound(FChapters.begin(), FChapters.end(), static_cast<double>(seconds),
                                        [](double time, const Chapter& chapter) { return time < chapter.Start; });
    const QString title = later == FChapters.begin() ? QString() : std::prev(later)->Title.simplified();
    return title.isEmpty() ? TimeText(seconds) : QString(TimeText(seconds) + u'\n' + title);
}

void SeekBar::paintEvent(QPaintEvent* event) {
    QSlider::paintEvent(event);
    if (FChapters.empty() || maximum() == 0) return;
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect groove = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const QRect handle = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    const int span = groove.width() - style()->pixelMetric(QStyle::PM_SliderLength, &option, this);
    QPainter painter(this);
    for (const Chapter& chapter : FChapters) {
        if (chapter.Start <= 0 || chapter.Start >= maximum()) continue;
        const int x = groove.x() + (groove.width() - span) / 2 +
                      QStyle::sliderPositionFromValue(0, maximum(), static_cast<int>(chapter.Start), span);
        const QRect tick(x, groove.center().y() - kTickHeight / 2, kTickWidth, kTickHeight);
        if (!tick.intersects(handle)) painter.fillRect(tick, palette().color(QPalette::WindowText));
    }
}

bool SeekBar::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QSlider::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    if (isEnabled() && maximum() > 0) QToolTip::showText(help->globalPos(), TextAt(SecondsAt(help->pos().x())), this);
    return true;
}

void SeekBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || maximum() == 0) return event->ignore();
    event->accept();
    setSliderDown(true);
    setSliderPosition(SecondsAt(event->position().toPoint().x()));
}

void SeekBar::mouseMoveEvent(QMouseEvent* event) {
    const int seconds = SecondsAt(event->position().toPoint().x());
    if (isSliderDown()) setSliderPosition(seconds);
    if (isSliderDown() || QToolTip::isVisible())
        QToolTip::showText(event->globalPosition().toPoint(), TextAt(seconds), this);
}

void SeekBar::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !isSliderDown()) return event->ignore();
    event->accept();
    setSliderDown(false);  // takes the position of the slider over
}

void SeekBar::wheelEvent(QWheelEvent* event) {
    event->accept();
    FWheel += event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    const int notches = FWheel / QWheelEvent::DefaultDeltasPerStep;
    FWheel -= notches * QWheelEvent::DefaultDeltasPerStep;
    if (notches == 0 || maximum() == 0 || isSliderDown()) return;
    const int target = std::clamp(value() + notches * kNotchSeconds, 0, std::max(Last(), value()));
    setValue(target);
}

}  // namespace vexa::host
