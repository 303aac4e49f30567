#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/i18n/language.h>
#include <dayvex/model/records.h>

#include <QGroupBox>

class QLineEdit;
class QTextEdit;

namespace dayvex {

struct AgendaEntry;

// The texts of the detail pane.
namespace detail {
// Over an appointment box: the first 16 characters of the date text, " - " and the end time.
QString boxCaption(const AgendaEntry &entry);
// The box text with each "|" starting a new paragraph.
QString boxText(const AgendaEntry &entry);
// Over a line of a day list: the first 11 characters of the day's date text, the
// line's start time, " - " and its end time.
QString listCaption(const QString &dayDates, const QString &line);
// The line after its times and their blank.
QString listText(const QString &line);
// Due date, state, short and long description, each as caption ": " value,
// the dashed line before the long description, joined by CR LF.
QString toDoText(const ToDo &todo, const QString &dateFormat, const LanguageTable &language);

// Where the pane stands beside an item, all in twips in one coordinate system:
// level with the item's top, right of it where room has the width, else left of
// it, else over it; moved and cut so that it stays inside room.
QRectF besideItem(const QRectF &item, const QSizeF &pane, const QRectF &room);
// Above a list, at its left edge and as wide as it, so that no row of the list
// is covered; as high as room leaves above the list, at most pane's height.
QRectF aboveList(const QRectF &list, const QSizeF &pane, const QRectF &room);
} // namespace detail

// The floating pane that shows one appointment or to-do beside the item it
// describes. Escape or a click anywhere else closes it.
class DetailPane : public QGroupBox
{
    Q_OBJECT
public:
    explicit DetailPane(QWidget *parent = nullptr);

    // Shows caption and text in area (parent coordinates, pixels).
    void showAt(const QRect &area, const QString &caption, const QString &text);
    // The area of the usual size beside item, or above a list, inside room (parent coordinates).
    QRect areaBeside(const QRect &item, const QRect &room) const;
    QRect areaAbove(const QRect &list, const QRect &room) const;
    // The pane's own size with its top left corner at topLeft.
    QRect areaAt(const QPoint &topLeft) const;
    QString text() const;
    QTextEdit *descriptionBox() const { return m_txDesApp; }

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLineEdit *m_txDat = nullptr;
    QTextEdit *m_txDesApp = nullptr;
};

} // namespace dayvex
