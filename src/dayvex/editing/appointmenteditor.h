#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/editorform.h>
#include <dayvex/model/records.h>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QTimeEdit;

namespace dayvex {

class RepeatRow;

// frmAppuntamento: the dialog in which the user creates, changes or deletes one
// appointment, shown without modality by the New and Modify commands.
class AppointmentEditor : public EditorForm
{
    Q_OBJECT
public:
    // The form key of a new appointment: "NEW" and ten blanks, a key's width.
    static const QString NewKey;
    // The form key of an existing record: a numeric key in thirteen digits, others as they are.
    static QString formKeyOf(const QString &recordKey);

    explicit AppointmentEditor(EditingHost &host, QWidget *parent = nullptr);

    // What the editor edits: formKey is NewKey or formKeyOf(values.Key); values
    // are the record's fields, or a new appointment's proposed times.
    void edit(const QString &formKey, const Schedule &values);
    QString recordKey() const override { return isNew() ? QString() : m_values.Key; }

signals:
    // A new appointment was stored under key.
    void added(const QString &key);

protected:
    void load() override;
    void store() override;
    void removeRecord() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createFields();
    void layOut();
    void keepDatesInOrder();
    void contactCodeEdited();
    void contactCodeDoubleClicked();
    void contactCodeLeft();

    Schedule m_values;
    // What the fields showed once loaded: Modern keeps the record's own start,
    // end and reminder where they still show it, to the second, NaN and all.
    struct Shown
    {
        QDateTime start, end;
        bool reminded = false;
        QString lead;
    };
    Shown shownNow() const;
    Shown m_loaded;

    QComboBox *m_cbCategorie = nullptr;
    QComboBox *m_cbUtente = nullptr;
    QComboBox *m_cbLuogo = nullptr;
    QDateEdit *m_datIni = nullptr;
    QDateEdit *m_datFine = nullptr;
    QTimeEdit *m_oraIni = nullptr;
    QTimeEdit *m_oraFine = nullptr;
    QLineEdit *m_desApp = nullptr;
    QLineEdit *m_codCont = nullptr;
    QLineEdit *m_contatto = nullptr;
    QLabel *m_codContLabel = nullptr;
    QLabel *m_contattoLabel = nullptr;
    QCheckBox *m_promemoria = nullptr;
    QComboBox *m_tempoPromemoria = nullptr;
    QLabel *m_repeatLabel = nullptr;
    RepeatRow *m_repeat = nullptr;
};

} // namespace dayvex
