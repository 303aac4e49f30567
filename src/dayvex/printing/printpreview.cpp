#include "printpreview.h"

#include <QPrintPreviewDialog>
#include <QPrinter>

namespace dayvex {

namespace {
// The preview runs its page setup and print dialogs in nested event loops, as
// its children: deleted while one of them runs (closed by code, a deletion the
// nested loop carries out), it would be freed under their callers. It goes once
// none is open; a nested dialog's end is seen again after its loop has returned.
void deleteWhenIdle(QDialog *preview)
{
    if (preview->isVisible())
        return;
    for (QDialog *nested : preview->findChildren<QDialog *>()) {
        if (nested->isVisible()) {
            QObject::connect(nested, &QDialog::finished, preview, [preview] { deleteWhenIdle(preview); },
                             Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
            return;
        }
    }
    preview->deleteLater();
}
} // namespace

QPrintPreviewDialog *openPrintPreview(QWidget *parent, std::function<void(QPrinter *)> paint)
{
    auto *dialog = new QPrintPreviewDialog(parent);
    dialog->setObjectName(QStringLiteral("PrintPreview"));
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog] { deleteWhenIdle(dialog); });
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
