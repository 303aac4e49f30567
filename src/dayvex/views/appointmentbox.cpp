#include "appointmentbox.h"

#include <dayvex/platform/color.h>

#include <QAccessibleWidget>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QLocale>
#include <QToolTip>

#include <cmath>

namespace dayvex {

namespace {
// A box is read by what it shows, made when the reader asks: a redraw names nothing.
class BoxAccessible : public QAccessibleWidget
{
public:
    explicit BoxAccessible(AppointmentBox *box)
        : QAccessibleWidget(box, QAccessible::Button)
    {
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name)
            return static_cast<const AppointmentBox *>(widget())->accessibleText();
        return QAccessibleWidget::text(t);
    }
};

QAccessibleInterface *boxAccessible(const QString &className, QObject *object)
{
    if (className == QLatin1String("dayvex::AppointmentBox") && object->isWidgetType())
        return new BoxAccessible(static_cast<AppointmentBox *>(object));
    return nullptr;
}
} // namespace

AppointmentBox::AppointmentBox(QWidget *parent)
    : QWidget(parent)
{
    static const bool installed = [] {
        QAccessible::installFactory(boxAccessible);
        return true;
    }();
    Q_UNUSED(installed);
    setObjectName(QStringLiteral("txApp"));
    setFont(boxFont());
    setFocusPolicy(Qt::ClickFocus);
    // The grid paints the box: the widget's own updates would only cost.
    setUpdatesEnabled(false);

    m_gestures = new ItemGestures(this);
}

QFont AppointmentBox::boxFont()
{
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("Arial Narrow"), QStringLiteral("Liberation Sans Narrow"),
                      QStringLiteral("Nimbus Sans Narrow"), QStringLiteral("DejaVu Sans Condensed")});
    // Narrow faces are small for their size already: never below 8 points.
    if (font.pointSizeF() > 0 && font.pointSizeF() < 8)
        font.setPointSizeF(8);
    return font;
}

void AppointmentBox::setEntry(const AgendaEntry &entry)
{
    if (entry.line() != m_entry.line())
        m_fittedFor = QSize();
    m_entry = entry;
    m_background = entry.color != 0 ? oleColor(quint32(entry.color), palette())
                                    : palette().color(QPalette::ToolTipBase);
    if (isVisible() && parentWidget())
        parentWidget()->update(geometry());
}

QString AppointmentBox::accessibleText() const
{
    if (!m_entry.start.isValid() || !std::isfinite(m_entry.start.value()))
        return m_entry.description.trimmed();
    const QLocale locale;
    const QDateTime start = m_entry.start.toDateTime();
    QStringList parts{m_entry.description.trimmed(), locale.toString(start.date(), QStringLiteral("dddd d MMMM")),
                      tr("%1 to %2").arg(start.toString(QStringLiteral("HH:mm")),
                                         m_entry.end.isValid() && std::isfinite(m_entry.end.value())
                                             ? m_entry.end.toDateTime().toString(QStringLiteral("HH:mm"))
                                             : QString())};
    if (!m_entry.place().trimmed().isEmpty())
        parts << m_entry.place().trimmed();
    return parts.join(QStringLiteral(", "));
}

QRect AppointmentBox::textArea() const
{
    return rect().adjusted(3, 1, -3, -1);
}

void AppointmentBox::setModern(bool on)
{
    m_modern = on;
    m_fittedFor = QSize();
}

namespace {
QFont boldOf(QFont font)
{
    font.setBold(true);
    return font;
}

} // namespace

const FittedText &AppointmentBox::shownText()
{
    if (m_modern && m_fittedFor != size()) {
        const QRect area = textArea();
        const int spacing = QFontMetrics(font()).lineSpacing();
        const QStringList all = m_entry.modernLines();
        const int room = qMax(1, area.height() / qMax(1, spacing));
        m_fitted = FittedText();
        m_lines.clear();
        for (int i = 0; i < all.size() && i < room; ++i) {
            const QFont face = i == 0 ? boldOf(font()) : font();
            const QString shown = QFontMetrics(face).elidedText(all[i], Qt::ElideRight, area.width());
            m_fitted.cut = m_fitted.cut || shown != all[i];
            m_fitted.lines << shown;
            QStaticText laidOut(shown);
            laidOut.setTextFormat(Qt::PlainText);
            laidOut.prepare(QTransform(), face);
            m_lines.push_back(std::move(laidOut));
        }
        m_fitted.cut = m_fitted.cut || all.size() > room;
        m_fittedFor = size();
    }
    if (m_fittedFor != size()) {
        const QFontMetricsF metrics(font());
        const QRect area = textArea();
        // At least one line, clipped if the box is lower than a line.
        const int lines = qMax(1, int(area.height() / metrics.lineSpacing()));
        m_fitted = fitLines(m_entry.line(), area.width(), lines, pieceWidths(m_entry.line(), font()));
        m_fittedFor = size();
        m_lines.clear();
        for (const QString &line : m_fitted.lines) {
            QStaticText laidOut(line);
            laidOut.setTextFormat(Qt::PlainText);
            laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
            laidOut.prepare(QTransform(), font());
            m_lines.push_back(std::move(laidOut));
        }
    }
    return m_fitted;
}

void AppointmentBox::paintBox(QPainter &painter)
{
    painter.fillRect(rect(), m_background);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (hasFocus()) {
        // The keyboard's place, whatever the box's colour.
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
    // Dark text on light colours and the other way round.
    painter.setPen(m_modern ? contrastingText(m_background) : (m_background.lightness() < 128 ? Qt::white : Qt::black));
    const QRect area = textArea();
    painter.setClipRect(area, Qt::IntersectClip);
    shownText();
    const int spacing = QFontMetrics(font()).lineSpacing();
    QPoint at = area.topLeft();
    for (size_t i = 0; i < m_lines.size(); ++i) {
        // The subject of a Modern box in bold.
        if (m_modern)
            painter.setFont(i == 0 ? boldOf(font()) : font());
        painter.drawStaticText(at, m_lines[i]);
        at.ry() += spacing;
    }
}

bool AppointmentBox::event(QEvent *event)
{
    // The box paints nothing itself: whoever paints it shows the focus moving.
    if ((event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) && parentWidget())
        parentWidget()->update(geometry());
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    if (m_modern) {
        // The whole text and the owner, always: a Modern box leaves fields out.
        QStringList full = m_entry.modernLines();
        if (!m_entry.owner().trimmed().isEmpty())
            full << m_entry.owner().trimmed();
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), full.join(QLatin1Char('\n')), this);
        return true;
    }
    // The whole line, where the box cuts it.
    if (shownText().cut)
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), m_entry.line(), this);
    else
        QToolTip::hideText();
    return true;
}

void AppointmentBox::mouseReleaseEvent(QMouseEvent *event)
{
    m_gestures->mouseReleased(event, rect().contains(event->position().toPoint()));
}

void AppointmentBox::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_gestures->mouseDoubleClicked(event);
}

void AppointmentBox::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        m_gestures->menuKeyPressed(mapToGlobal(rect().center()));
}

void AppointmentBox::keyPressEvent(QKeyEvent *event)
{
    if (!m_gestures->keyPressed(event))
        QWidget::keyPressEvent(event);
}

} // namespace dayvex
