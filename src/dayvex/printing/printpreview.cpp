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

void releasePrintPreviews(QWidget *owner)
{
    // Deleted with its owner, a preview would be freed under its own running page
    // setup or print dialog. It goes to the owner's window instead (on its own when
    // the owner is the window), paints no more, and deletes itself when closed.
    QWidget *window = owner->window() != owner ? owner->window() : nullptr;
    for (QPrintPreviewDialog *dialog : owner->findChildren<QPrintPreviewDialog *>(Qt::FindDirectChildrenOnly)) {
        QObject::disconnect(dialog, &QPrintPreviewDialog::paintRequested, nullptr, nullptr);
        const bool shown = dialog->isVisible();
        dialog->setParent(window, dialog->windowFlags());
        if (shown)
            dialog->show();
    }
}

} // namespace dayvex
