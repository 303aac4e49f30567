#pragma once

#include <QDate>
#include <QWidget>

class QComboBox;
class QDateEdit;
class QLineEdit;
class QSpinBox;

namespace dayvex {

// The appointment editor's Repeat row: none, daily, weekly, monthly or yearly,
// every N, for ever, until a day or N times. It reads and writes the RRULE
// value of a record. A rule it cannot show in those terms is shown as its text,
// read-only, and given back unchanged.
class RepeatRow : public QWidget
{
    Q_OBJECT
public:
    explicit RepeatRow(const QString &dateFormat, QWidget *parent = nullptr);

    // Shows rule, the series starting on start.
    void setRule(const QString &rule, QDate start);
    // The rule as the row shows it: the one given while untouched or unreadable.
    QString rule() const;
    bool readable() const { return m_readable; }
    // Its fields, left to right.
    QWidgetList fields() const;

signals:
    void edited();

private:
    void showParts();

    QString m_rule;
    QString m_untilValue; // the rule's own UNTIL and its day
    QDate m_untilDay;
    bool m_readable = true;
    bool m_touched = false;
    bool m_setting = false;

    QComboBox *m_frequency = nullptr;
    QSpinBox *m_interval = nullptr;
    QComboBox *m_end = nullptr;
    QDateEdit *m_until = nullptr;
    QSpinBox *m_count = nullptr;
    QLineEdit *m_text = nullptr;
};

} // namespace dayvex
