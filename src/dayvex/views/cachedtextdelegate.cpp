#include "cachedtextdelegate.h"

#include <QApplication>
#include <QCache>
#include <QPainter>

namespace dayvex {

namespace {
// One store for every delegate: a month view has a list, and so a delegate, per
// day, and a bound for each would let them together keep tens of thousands of
// texts. The least recently painted go first.
constexpr qsizetype MaxLaidOutTexts = 4096;

QCache<CachedTextDelegate::Key, QStaticText> &laidOutCache()
{
    static QCache<CachedTextDelegate::Key, QStaticText> cache(MaxLaidOutTexts);
    static const bool clearedAtExit = [] {
        // Laid-out text holds fonts, which must go before the application does.
        qAddPostRoutine([] { laidOutCache().clear(); });
        return true;
    }();
    Q_UNUSED(clearedAtExit);
    return cache;
}
} // namespace

qsizetype CachedTextDelegate::laidOutTexts() { return laidOutCache().size(); }

const QStaticText &CachedTextDelegate::laidOut(const QString &text, const QFont &font, int width,
                                               Qt::TextElideMode elide)
{
    QCache<Key, QStaticText> &cache = laidOutCache();
    Key key{text, font, width, elide};
    if (const QStaticText *found = cache.object(key))
        return *found;
    auto laid = std::make_unique<QStaticText>(elide == Qt::ElideNone ? text
                                                                     : QFontMetrics(font).elidedText(text, elide, width));
    laid->setTextFormat(Qt::PlainText);
    laid->setPerformanceHint(QStaticText::AggressiveCaching);
    laid->prepare(QTransform(), font);
    const QStaticText &kept = *laid;
    cache.insert(std::move(key), laid.release());
    return kept;
}

void CachedTextDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QWidget *widget = opt.widget;
    const QStyle *style = widget ? widget->style() : QApplication::style();

    painter->save();
    painter->setClipRect(opt.rect);
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, widget);

    if (!opt.text.isEmpty()) {
        QPalette::ColorGroup group = opt.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled;
        if (group == QPalette::Normal && !(opt.state & QStyle::State_Active))
            group = QPalette::Inactive;
        painter->setPen(opt.palette.color(group, opt.state & QStyle::State_Selected ? QPalette::HighlightedText
                                                                                     : QPalette::Text));
        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
        const QRect area = opt.rect.adjusted(margin, 0, -margin, 0);
        const QStaticText &text = laidOut(opt.text, opt.font, area.width(), opt.textElideMode);
        const QSizeF size = text.size();
        const Qt::Alignment align = QStyle::visualAlignment(opt.direction, opt.displayAlignment);
        qreal x = area.left();
        if (align & Qt::AlignRight)
            x = area.left() + area.width() - size.width();
        else if (align & Qt::AlignHCenter)
            x = area.left() + (area.width() - size.width()) / 2;
        // Placed as the styles place a line of text: the font's whole pixels of height, centred in whole pixels.
        const int height = int(QFontMetricsF(opt.font).height());
        int y = area.top() + (area.height() - height) / 2;
        if (align & Qt::AlignTop)
            y = area.top();
        else if (align & Qt::AlignBottom)
            y = area.top() + area.height() - height;
        painter->setFont(opt.font);
        painter->drawStaticText(QPointF(x, y), text);
    }

    if (opt.state & QStyle::State_HasFocus) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(opt);
        focus.rect = style->subElementRect(QStyle::SE_ItemViewItemFocusRect, &opt, widget);
        focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
        const QPalette::ColorGroup group = opt.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled;
        focus.backgroundColor =
            opt.palette.color(group, opt.state & QStyle::State_Selected ? QPalette::Highlight : QPalette::Window);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, widget);
    }
    painter->restore();
}

} // namespace dayvex
