#include "appointmentbox.h"
#include <QItemSelectionModel>
#include <QAbstractItemView>

#include <dayvex/platform/color.h>

#include <QAccessibleWidget>
#include <QCache>
#include <QCoreApplication>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QLocale>
#include <QToolTip>

#include <cmath>
#include <memory>

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

namespace {
// What a box shows of its texts in a font, at a width and a number of lines:
// moving to a week and back, or drawing a box again at the same size, finds the
// lines fitted and laid out here instead of measuring them anew. The font is
// part of the key, so a box whose font changes fits its text again.
struct FitKey
{
    QStringList texts; // the line, or a Modern box's lines
    QFont font;
    int width = 0;
    int lines = 0;
    bool modern = false;
    bool operator==(const FitKey &other) const
    {
        return width == other.width && lines == other.lines && modern == other.modern && texts == other.texts
               && font == other.font;
    }
};

size_t qHash(const FitKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.texts, key.font, key.width, key.lines, key.modern);
}

struct Fit
{
    FittedText fitted;
    std::vector<QStaticText> lines;
};

// A week of a thousand boxes and the week after it, with room to spare.
constexpr int FitCacheEntries = 4096;

QCache<FitKey, Fit> &fitCache()
{
    static QCache<FitKey, Fit> cache(FitCacheEntries);
    static const bool clearedAtExit = [] {
        // Laid-out text holds fonts, which must go before the application does.
        qAddPostRoutine([] { fitCache().clear(); });
        return true;
    }();
    Q_UNUSED(clearedAtExit);
    return cache;
}

Fit fitModern(const QStringList &all, const QFont &font, const QRect &area, int room)
{
    Fit fit;
    for (int i = 0; i < all.size() && i < room; ++i) {
        const QFont face = i == 0 ? boldOf(font) : font;
        const QString shown = QFontMetrics(face).elidedText(all[i], Qt::ElideRight, area.width());
        fit.fitted.cut = fit.fitted.cut || shown != all[i];
        fit.fitted.lines << shown;
        QStaticText laidOut(shown);
        laidOut.setTextFormat(Qt::PlainText);
        laidOut.prepare(QTransform(), face);
        fit.lines.push_back(std::move(laidOut));
    }
    fit.fitted.cut = fit.fitted.cut || all.size() > room;
    return fit;
}

Fit fitLine(const QString &line, const QFont &font, const QRect &area, int lines)
{
    Fit fit;
    fit.fitted = fitLines(line, area.width(), lines, pieceWidths(line, font));
    for (const QString &shown : fit.fitted.lines) {
        QStaticText laidOut(shown);
        laidOut.setTextFormat(Qt::PlainText);
        laidOut.setPerformanceHint(QStaticText::AggressiveCaching);
        laidOut.prepare(QTransform(), font);
        fit.lines.push_back(std::move(laidOut));
    }
    return fit;
}
} // namespace

const FittedText &AppointmentBox::shownText()
{
    if (m_fittedFor == size() && m_fittedFont == font())
        return m_fitted;
    const QRect area = textArea();
    FitKey key;
    key.font = font();
    key.width = area.width();
    key.modern = m_modern;
    if (m_modern) {
        key.texts = m_entry.modernLines();
        key.lines = qMax(1, area.height() / qMax(1, QFontMetrics(font()).lineSpacing()));
    } else {
        key.texts = QStringList{m_entry.line()};
        // At least one line, clipped if the box is lower than a line.
        key.lines = qMax(1, int(area.height() / QFontMetricsF(font()).lineSpacing()));
    }
    QCache<FitKey, Fit> &cache = fitCache();
    const Fit *fit = cache.object(key);
    if (!fit) {
        auto made = std::make_unique<Fit>(m_modern ? fitModern(key.texts, key.font, area, key.lines)
                                                   : fitLine(key.texts.constFirst(), key.font, area, key.lines));
        fit = made.get();
        cache.insert(key, made.release());
    }
    m_fitted = fit->fitted;
    m_lines = fit->lines;
    m_fittedFor = size();
    m_fittedFont = font();
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

namespace {
// The view the box stands on, when it stands on one's viewport.
QAbstractItemView *viewOf(const QWidget *box)
{
    auto *view = box->parentWidget() ? qobject_cast<QAbstractItemView *>(box->parentWidget()->parentWidget()) : nullptr;
    return view && box->parentWidget() == view->viewport() ? view : nullptr;
}
} // namespace

void AppointmentBox::hideEvent(QHideEvent *event)
{
    // Modern: a redraw took the box with the focus away (its appointment deleted, moved
    // elsewhere): the focus stays in the grid at its place, not on the next
    // widget of the window.
    if (m_modern && hasFocus()) {
        if (QAbstractItemView *view = viewOf(this)) {
            const QModelIndex at = view->indexAt(geometry().topLeft() + QPoint(1, 1));
            if (at.isValid())
                view->selectionModel()->setCurrentIndex(at, QItemSelectionModel::NoUpdate);
            view->setFocus(Qt::OtherFocusReason);
        }
    }
    QWidget::hideEvent(event);
}

void AppointmentBox::keyPressEvent(QKeyEvent *event)
{
    // Shift+F10 is the menu key's twin: the box's own menu.
    if (m_modern && event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
        m_gestures->menuKeyPressed(mapToGlobal(rect().center()));
        return;
    }
    // The arrows walk the slots from where the box stands, not from wherever the
    // grid's own cell was left.
    const bool arrow = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down || event->key() == Qt::Key_Left
                       || event->key() == Qt::Key_Right;
    QAbstractItemView *view = viewOf(this);
    if (m_modern && arrow && view) {
        const QModelIndex at = view->indexAt(geometry().topLeft() + QPoint(1, 1));
        if (at.isValid())
            view->selectionModel()->setCurrentIndex(at, QItemSelectionModel::NoUpdate);
        view->setFocus(Qt::OtherFocusReason);
        QCoreApplication::sendEvent(view, event);
        return;
    }
    if (!m_gestures->keyPressed(event))
        QWidget::keyPressEvent(event);
}

} // namespace dayvex
