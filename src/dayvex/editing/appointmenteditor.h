#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>

#include <QDialog>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimeEdit;

namespace dayvex {

class EditingHost;

// frmAppuntamento: the dialog in which the user creates, changes or deletes one
// appointment. Save stores through the host's data and events and closes the
// editor; Delete asks, removes and closes; Fine closes, asking first when
// fields were changed. It is shown without modality by the New and Modify commands.
class DAYVEX_EXPORT AppointmentEditor : public QDialog
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
    QString formKey() const { return m_formKey; }
    bool hasUnsavedChanges() const { return m_unsaved; }

    // The three buttons.
    void save();
    void deleteAppointment();
    void finish();

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void reject() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createFields();
    void layOut();
    void activate();
    void markChanged();
    void keepDatesInOrder(bool startChanged);
    void contactCodeEdited();
    void contactCodeDoubleClicked();
    bool contactCodeLeft();
    bool mayClose();
    template <typename Action>
    void runFromButton(Action action);

    EditingHost &m_host;
    QString m_formKey;
    Schedule m_values;
    bool m_unsaved = false;
    bool m_filling = false;
    bool m_activated = false;

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
    QPushButton *m_salva = nullptr;
    QPushButton *m_elimina = nullptr;
    QPushButton *m_fine = nullptr;
};

} // namespace dayvex
