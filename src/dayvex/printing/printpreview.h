#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/i18n/language.h>
#include <dayvex/printing/agendaprint.h>

#include <functional>

class QPrinter;
class QPrintPreviewDialog;
class QWidget;

namespace dayvex {

// Opens Qt's print preview over parent, window-modal and without waiting: the
// dialog draws its pages with paint and prints or saves them as its user
// chooses, then deletes itself.
QPrintPreviewDialog *openPrintPreview(QWidget *parent, std::function<void(QPrinter *)> paint);

// For an owner about to be deleted: its open previews stop painting from it and
// are deleted once any dialog they wait on (page setup, print) has returned.
void releasePrintPreviews(QWidget *owner);

// printAgenda with the headings of a control's own language table.
int printAgenda(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options,
                const LanguageTable &language);

} // namespace dayvex
