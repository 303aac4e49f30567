#include "repeatrow.h"

#include "editorform.h"

#include <QComboBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

#include <array>
#include <optional>

namespace dayvex {

using form::named;

namespace {

enum Frequency { None, Daily, Weekly, Monthly, Yearly };
enum End { Never, Until, Count };
const std::array<QLatin1String, 4> FrequencyNames{QLatin1String("DAILY"), QLatin1String("WEEKLY"),
                                                  QLatin1String("MONTHLY"), QLatin1String("YEARLY")};

struct Parts
{
    int frequency = None;
    int interval = 1;
    int end = Never;
    QDate until;
    QString untilValue; // as the rule wrote it, kept while the day is
    int count = 1;
};

// The parts of rule in the row's terms, none when it has others. A BYDAY of
// the start's weekday (weekly) or a BYMONTHDAY of its day (monthly) adds
// nothing to what the start says, so it reads as well.
std::optional<Parts> readRule(const QString &rule, QDate start)
{
    Parts parts;
    bool byDay = false, byMonthDay = false;
    for (const QString &part : rule.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString name = part.section(QLatin1Char('='), 0, 0).trimmed().toUpper();
        const QString value = part.section(QLatin1Char('='), 1).trimmed().toUpper();
        bool ok = true;
        if (name == QLatin1String("FREQ")) {
            parts.frequency = int(std::find(FrequencyNames.begin(), FrequencyNames.end(), value) - FrequencyNames.begin()) + 1;
            ok = parts.frequency <= Yearly;
        } else if (name == QLatin1String("INTERVAL")) {
            parts.interval = value.toInt(&ok);
            ok = ok && parts.interval >= 1 && parts.interval <= 99;
        } else if (name == QLatin1String("COUNT") && parts.end == Never) {
            parts.end = Count;
            parts.count = value.toInt(&ok);
            ok = ok && parts.count >= 1 && parts.count <= 999;
        } else if (name == QLatin1String("UNTIL") && parts.end == Never) {
            parts.end = Until;
            parts.until = QDate::fromString(value.left(8), QStringLiteral("yyyyMMdd"));
            parts.untilValue = value;
            ok = parts.until.isValid();
        } else if (name == QLatin1String("BYDAY")) {
            static const char *const days[] = {"MO", "TU", "WE", "TH", "FR", "SA", "SU"};
            byDay = ok = start.isValid() && value == QLatin1String(days[start.dayOfWeek() - 1]);
        } else if (name == QLatin1String("BYMONTHDAY")) {
            byMonthDay = ok = start.isValid() && value.toInt() == start.day();
        } else {
            ok = false;
        }
        if (!ok)
            return std::nullopt;
    }
    if (parts.frequency == None || (byDay && parts.frequency != Weekly) || (byMonthDay && parts.frequency != Monthly))
        return std::nullopt;
    return parts;
}

} // namespace

RepeatRow::RepeatRow(const QString &dateFormat, QWidget *parent)
    : QWidget(parent)
{
    m_frequency = named(new QComboBox(this), "Ripeti");
    m_frequency->addItems({tr("never"), tr("daily"), tr("weekly"), tr("monthly"), tr("yearly")});
    m_interval = named(new QSpinBox(this), "OgniN");
    m_interval->setRange(1, 99);
    m_interval->setPrefix(tr("every "));
    m_end = named(new QComboBox(this), "FineRipeti");
    m_end->addItems({tr("for ever"), tr("until"), tr("times")});
    m_until = named(new QDateEdit(this), "RipetiFino");
    m_until->setDisplayFormat(dateFormat);
    m_until->setCalendarPopup(true);
    m_count = named(new QSpinBox(this), "Volte");
    m_count->setRange(1, 999);
    m_text = named(new QLineEdit(this), "Regola");
    m_text->setReadOnly(true);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget *part : fields())
        row->addWidget(part);
    row->addStretch();

    const auto touched = [this] {
        if (m_setting)
            return;
        m_touched = true;
        showParts();
        emit edited();
    };
    connect(m_frequency, &QComboBox::currentIndexChanged, this, touched);
    connect(m_end, &QComboBox::currentIndexChanged, this, touched);
    connect(m_interval, &QSpinBox::valueChanged, this, touched);
    connect(m_count, &QSpinBox::valueChanged, this, touched);
    connect(m_until, &QDateEdit::dateChanged, this, touched);
}

QWidgetList RepeatRow::fields() const
{
    return {m_frequency, m_interval, m_end, m_until, m_count, m_text};
}

void RepeatRow::setRule(const QString &rule, QDate start)
{
    m_rule = rule;
    m_touched = false;
    const std::optional<Parts> parts = rule.trimmed().isEmpty() ? Parts() : readRule(rule, start);
    m_readable = parts.has_value();
    const Parts shown = parts.value_or(Parts());
    m_setting = true;
    m_frequency->setCurrentIndex(shown.frequency);
    m_interval->setValue(shown.interval);
    m_end->setCurrentIndex(shown.end);
    m_until->setDate(shown.until.isValid() ? shown.until : start.addMonths(1));
    m_untilValue = shown.untilValue;
    m_untilDay = shown.until;
    m_count->setValue(shown.count);
    m_text->setText(m_readable ? QString() : rule);
    m_setting = false;
    showParts();
}

QString RepeatRow::rule() const
{
    if (!m_readable || !m_touched)
        return m_rule;
    if (m_frequency->currentIndex() == None)
        return QString();
    QStringList parts{QStringLiteral("FREQ=") + FrequencyNames[size_t(m_frequency->currentIndex() - 1)]};
    if (m_interval->value() > 1)
        parts << QStringLiteral("INTERVAL=%1").arg(m_interval->value());
    if (m_end->currentIndex() == Until)
        // The last moment of the day, unless it is the day the rule named already (a series cut at an occurrence).
        parts << QStringLiteral("UNTIL=") + (m_until->date() == m_untilDay && !m_untilValue.isEmpty()
                                                 ? m_untilValue
                                                 : m_until->date().toString(QStringLiteral("yyyyMMdd'T'235959")));
    else if (m_end->currentIndex() == Count)
        parts << QStringLiteral("COUNT=%1").arg(m_count->value());
    return parts.join(QLatin1Char(';'));
}

void RepeatRow::showParts()
{
    const bool repeats = m_readable && m_frequency->currentIndex() != None;
    m_frequency->setVisible(m_readable);
    m_interval->setVisible(repeats);
    m_end->setVisible(repeats);
    m_until->setVisible(repeats && m_end->currentIndex() == Until);
    m_count->setVisible(repeats && m_end->currentIndex() == Count);
    m_text->setVisible(!m_readable);
}

} // namespace dayvex
