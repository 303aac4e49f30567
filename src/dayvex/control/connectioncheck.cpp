#include "zntdayvex_p.h"

#include <dayvex/platform/error.h>

#include <QMetaMethod>

#ifdef DAYVEX_CHECK_CONNECTIONS
// Qt tells a connected object no connection's type: for a development build only,
// the check reads Qt's own connection lists, which tie it to the Qt it was built with.
#include <QtCore/private/qmetaobject_p.h>
#include <QtCore/private/qobject_p_p.h>
#endif

namespace dayvex {

#ifdef DAYVEX_CHECK_CONNECTIONS
namespace {
// Whether signal of sender has a connection that runs its receiver later.
bool hasQueuedConnection(QObject *sender, const QMetaMethod &signal)
{
    QObjectPrivate::ConnectionData *connections = QObjectPrivate::get(sender)->connections.loadAcquire();
    const int index = QMetaObjectPrivate::signalIndex(signal);
    if (!connections || index < 0 || index >= connections->signalVectorCount())
        return false;
    for (const QObjectPrivate::Connection *c = connections->connectionsForSignal(index).first.loadAcquire(); c;
         c = c->nextConnectionList.loadAcquire()) {
        if (c->receiver.loadRelaxed()
            && (c->connectionType == Qt::QueuedConnection || c->connectionType == Qt::BlockingQueuedConnection))
            return true;
    }
    return false;
}
} // namespace
#endif

void zntDayvex::connectNotify(const QMetaMethod &signal)
{
    QWidget::connectNotify(signal);
#ifdef DAYVEX_CHECK_CONNECTIONS
    // An answer written into a copy of the arguments never comes back.
    if (!signal.methodSignature().contains('&') || d->m_warnedQueued.contains(signal.methodIndex())
        || !hasQueuedConnection(this, signal))
        return;
    d->m_warnedQueued.insert(signal.methodIndex());
    qCWarning(lcDayvex, "zntDayvex: %s is connected with a queued connection: its reference parameters need a "
                        "direct one, or the answers set in them are lost",
              signal.methodSignature().constData());
#endif
}

} // namespace dayvex
