#include "sampledata.h"


#include <QRandomGenerator>

using namespace dayvex;

void fillSampleData(DayvexData &data, const QDate &day)
{
    for (const char *name : {"Rossi", "Bianchi", "Verdi", "Neri"})
        data.Users()->Add(QString::fromLatin1(name));
    auto schedules = data.Schedules();
    schedules->Categories(); // collect categories from the start
    auto todos = data.ToDoS();
    for (const char *project : {"Sito web", "Bilancio", "Trasloco"})
        todos->ActiveProjects()->Add(QString::fromLatin1(project));

    const QStringList places{"Sala A", "Sala B", "Ufficio", "Cliente", "Online"};
    const QStringList categories{"Lavoro", "Riunione", "Personale", "Formazione"};
    const QStringList contacts{"Ing. Ferri", "Dott.ssa Galli", "Studio Conti", "", "M. Russo"};
    const QStringList topics{"Revisione progetto", "Chiamata fornitore", "Pianificazione sprint",
                             "Colloquio", "Pranzo di lavoro", "Aggiornamento budget",
                             "Presentazione al cliente", "Formazione sicurezza"};

    QRandomGenerator random(20261121); // the same agenda on every run
    const QDate first(day.year(), day.month(), 1);
    const auto start = [&](const QDate &d, int hour, int minute) {
        return Date::fromDateTime(QDateTime(d, QTime(hour, minute)));
    };
    int n = 0;
    auto add = [&](const QDate &d, int hour, int minute, int minutes) {
        const Date s = start(d, hour, minute);
        const QString key = schedules->NewKey();
        schedules->Add(key, data.Users()->Item(1 + n % 4)->Key, s, s.addMinutes(minutes),
                       QString::number(100 + n), contacts.at(n % contacts.size()),
                       categories.at(n % categories.size()), topics.at(n % topics.size()),
                       places.at(n % places.size()), n % 5 == 0 && s > now() ? s.addMinutes(-15) : Date(),
                       QString(), n % 3 == 0 ? 0xC8F0FF : n % 3 == 1 ? 0xD8F5D8 : 0);
        ++n;
    };
    // Three overlapping meetings on the day itself, and a staggered pair.
    add(day, 9, 0, 90);
    add(day, 9, 30, 60);
    add(day, 10, 0, 60);
    add(day, 14, 0, 60);
    add(day, 14, 30, 90);
    add(day, 17, 0, 30);
    while (n < 42) {
        const QDate d = first.addDays(random.bounded(first.daysInMonth()));
        add(d, 8 + random.bounded(11), random.bounded(2) * 30, 30 * (1 + random.bounded(4)));
    }

    // What only the Modern presentation pictures truly: an overnight shift, a trip
    // of three days, an appointment before the working day and a whole day. Add cuts an end at
    // an earlier clock time to one step, so the true ends are set after it.
    auto span = [&](const QDate &d, int hour, int minute, const QDateTime &end, const char *what) {
        add(d, hour, minute, 30);
        const std::shared_ptr<Schedule> added = schedules->Item(schedules->Count());
        added->Description = QString::fromUtf8(what);
        added->setEnd(end);
    };
    span(day.addDays(1), 22, 0, QDateTime(day.addDays(2), QTime(6, 0)), "Turno di notte");
    span(day.addDays(2), 9, 0, QDateTime(day.addDays(4), QTime(17, 0)), "Trasferta a Milano");
    span(day.addDays(-1), 2, 38, QDateTime(day.addDays(-1), QTime(3, 30)), "Volo in partenza");
    span(day.addDays(1), 0, 0, QDateTime(day.addDays(2), QTime(0, 0)), "Giornata di formazione");
    // A weekly series: one record, shown on every Friday at 17:00 from four weeks back.
    span(day.addDays(5 - day.dayOfWeek() - 28), 17, 0, QDateTime(day.addDays(5 - day.dayOfWeek() - 28), QTime(17, 30)),
         "Riunione settimanale");
    schedules->Item(schedules->Count())->Recurrence = QStringLiteral("FREQ=WEEKLY;BYDAY=FR");

    // One reminder falls due a minute after start: its pop-up shows what reminders look like.
    const Date soon = Date::fromDateTime(now().toDateTime().addSecs(60));
    schedules->Add(schedules->NewKey(), data.Users()->Item(1)->Key, soon.addMinutes(15), soon.addMinutes(45), "200",
                   "Dott.ssa Galli", "Lavoro", "Telefonata di verifica", "Ufficio", soon);

    const char *jobs[] = {"Preparare offerta", "Rinnovare dominio", "Chiudere trimestre",
                          "Ordinare scatoloni", "Aggiornare listino", "Scrivere verbale",
                          "Prenotare sala", "Pagare fornitori", "Backup archivio",
                          "Inviare auguri", "Controllare fatture", "Rivedere contratto"};
    int i = 0;
    for (const char *job : jobs) {
        const Date due = start(day.addDays(i - 3), 18, 0);
        todos->Add(todos->NewKey(), data.Users()->Item(1 + i % 4)->Key, QString::fromLatin1(job),
                   QStringLiteral("Dettagli di \"%1\".").arg(QString::fromLatin1(job)), due,
                   qint16(1 + (i * 7) % 5), todos->ActiveProjects()->Item(1 + i % 3)->Key, i % 4 == 3,
                   i % 4 == 3 ? due : Date(), Date());
        ++i;
    }
}
