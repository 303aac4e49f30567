#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/layout/agendaentry.h>

#include <dayvex/views/itemgestures.h>
#include <dayvex/layout/textfit.h>

#include <QStaticText>
#include <QWidget>

#include <vector>

namespace dayvex {

// One appointment box laid over the time grid. The box is a widget for what a
// user does with it (clicks, keys, focus, tooltip) but paints nothing itself:
// the grid paints every box in its own pass, as a widget each would cost a
// thousand separate paints in a crowded week.
class AppointmentBox : public QWidget
{
    Q_OBJECT
public:
    explicit AppointmentBox(QWidget *parent = nullptr);

    const AgendaEntry &entry() const { return m_entry; }
    void setEntry(const AgendaEntry &entry);

    // The face of the box text: "Arial Narrow", or the closest narrow face, at
    // the size of the application's text.
    static QFont boxFont();

    // The lines the box shows at its present size.
    const FittedText &shownText();
    // Paints the box with its top left corner at the painter's origin.
    void paintBox(QPainter &painter);

    // Modern: the subject in bold, then the times and the place, each on its own
    // line; text in black or white by the background's luminance.
    void setModern(bool on);

    // Clicks, double clicks, right clicks, Delete and Enter on the box.
    ItemGestures *gestures() const { return m_gestures; }

    // What a screen reader says of the box: subject, day, start and end, place.
    QString accessibleText() const;

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool event(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    QRect textArea() const;

    AgendaEntry m_entry;
    QColor m_background;
    // The fitted lines and their laid-out glyphs, kept until the text or the box's size changes.
    FittedText m_fitted;
    std::vector<QStaticText> m_lines;
    QSize m_fittedFor;
    QFont m_fittedFont;
    ItemGestures *m_gestures = nullptr;
    bool m_modern = false;
};

} // namespace dayvex
