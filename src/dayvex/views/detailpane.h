#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>

#include <QGroupBox>

class QLineEdit;
class QTextEdit;

namespace dayvex {

struct AgendaEntry;

// The texts of the detail pane.
namespace detail {
// Over an appointment box: the first 16 characters of the date text, " - " and the end time.
DAYVEX_EXPORT QString boxCaption(const AgendaEntry &entry);
// The box text with each "|" starting a new paragraph.
DAYVEX_EXPORT QString boxText(const AgendaEntry &entry);
// Over a line of a day list: the first 11 characters of the day's date text, the
// line's start time, " - " and its end time.
DAYVEX_EXPORT QString listCaption(const QString &dayDates, const QString &line);
// The line after its times and their blank.
DAYVEX_EXPORT QString listText(const QString &line);
// Due date, state, short and long description, each as caption ": " value,
// the dashed line before the long description, joined by CR LF.
DAYVEX_EXPORT QString toDoText(const ToDo &todo, const QString &dateFormat);
} // namespace detail

// The floating pane that shows one appointment or to-do over the item it describes.
class DAYVEX_EXPORT DetailPane : public QGroupBox
{
    Q_OBJECT
public:
    explicit DetailPane(QWidget *parent = nullptr);

    // Shows caption and text in area (parent coordinates), moved up and left as
    // far as needed to stay inside the parent.
    void showAt(QRect area, const QString &caption, const QString &text);
    // The pane's usual size.
    QSize defaultSize() const;
    QString text() const;
    QTextEdit *descriptionBox() const { return m_txDesApp; }

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QLineEdit *m_txDat = nullptr;
    QTextEdit *m_txDesApp = nullptr;
};

} // namespace dayvex
