#pragma once

#include <dayvex/dayvex_export.h>

#include <QFont>
#include <QStaticText>
#include <QStyledItemDelegate>

namespace dayvex {

// An item delegate that paints as QStyledItemDelegate does for a cell of one
// line of text (panel, selection, text in the item's colour and alignment,
// elided or clipped, focus frame), but keeps each text laid out: a table
// repainted with the same texts shapes none of them again.
class CachedTextDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    /// How many texts are kept laid out, by all the delegates together.
    static qsizetype laidOutTexts();

    // What a laid-out text is kept under.
    struct Key
    {
        QString text;
        QFont font;
        int width = 0;
        Qt::TextElideMode elide = Qt::ElideNone;
        friend bool operator==(const Key &a, const Key &b)
        {
            return a.width == b.width && a.elide == b.elide && a.text == b.text && a.font == b.font;
        }
        friend size_t qHash(const Key &key, size_t seed = 0)
        {
            return qHashMulti(seed, key.text, key.width, int(key.elide), key.font);
        }
    };

private:
    static const QStaticText &laidOut(const QString &text, const QFont &font, int width, Qt::TextElideMode elide);
};

} // namespace dayvex
