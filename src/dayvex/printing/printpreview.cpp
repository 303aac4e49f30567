#include "printpreview.h"

#include <QPrintPreviewDialog>
#include <QPrinter>

namespace dayvex {

QPrintPreviewDialog *openPrintPreview(QWidget *parent, std::function<void(QPrinter *)> paint)
{
    auto *dialog = new QPrintPreviewDialog(parent);
    dialog->setObjectName(QStringLiteral("PrintPreview"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(dialog, &QPrintPreviewDialog::paintRequested, dialog, std::move(paint));
    dialog->open();
    return dialog;
}

} // namespace dayvex
