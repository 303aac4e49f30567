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

} // namespace dayvex
