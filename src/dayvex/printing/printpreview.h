#pragma once

#include <dayvex/dayvex_export.h>

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

} // namespace dayvex
