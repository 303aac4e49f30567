#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/editorform.h>
#include <dayvex/model/records.h>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLineEdit;
class QPlainTextEdit;
class QTimeEdit;

namespace dayvex {

// frmAttività: the dialog in which the user creates, changes or deletes one to-do,
// shown without modality by the New and Modify to-do commands. Its reminder is
// the due time plus the lead time, as it has always been, whatever its label says.
class ToDoEditor : public EditorForm
{
    Q_OBJECT
public:
    // The form key of a new to-do: "NEW", unpadded.
    static const QString NewKey;

    explicit ToDoEditor(EditingHost &host, QWidget *parent = nullptr);

    // Edits the to-do of key, as ToDoS holds it, or a new one for NewKey.
    void edit(const QString &key);
    QString recordKey() const override { return isNew() ? QString() : m_values.Key; }

protected:
    void load() override;
    void store() override;
    void removeRecord() override;

private:
    void createFields();
    void layOut();

    ToDo m_values;

    QComboBox *m_cbPriorita = nullptr;
    QCheckBox *m_ckDone = nullptr;
    QComboBox *m_tempoPromemoria = nullptr;
    QPlainTextEdit *m_txDesLunga = nullptr;
    QCheckBox *m_promemoria = nullptr;
    QLineEdit *m_txDescBreve = nullptr;
    QComboBox *m_cbUtente = nullptr;
    QComboBox *m_cbProgetto = nullptr;
    QDateEdit *m_datSca = nullptr;
    QTimeEdit *m_oraSca = nullptr;
};

} // namespace dayvex
