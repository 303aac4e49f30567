#include "zntdayvexplugin.h"

#include <dayvex/dayvex.h>

#include <QPainter>
#include <QPixmap>

namespace {

// A page of a desk calendar: a coloured heading over a grid of days.
QIcon paintCalendarIcon()
{
    QIcon icon;
    for (const int side : {16, 22, 32, 48}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal unit = side / 16.0;
        const QRectF page(0.5 * unit, 1.5 * unit, 15 * unit, 14 * unit);
        painter.setPen(QPen(QColor(0x30, 0x4a, 0x78), unit * 0.75));
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(page, unit, unit);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0x3d, 0x6e, 0xc2));
        painter.drawRect(QRectF(page.left(), page.top(), page.width(), 3.5 * unit));
        painter.setBrush(QColor(0x8a, 0x9b, 0xb8));
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 4; ++column)
                painter.drawRect(QRectF((2 + 3.2 * column) * unit, (6.5 + 2.8 * row) * unit, 2.2 * unit, 1.8 * unit));
        painter.setBrush(QColor(0xd0, 0x3a, 0x2f)); // today
        painter.drawRect(QRectF((2 + 3.2 * 2) * unit, (6.5 + 2.8 * 1) * unit, 2.2 * unit, 1.8 * unit));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

ZntDayvexPlugin::ZntDayvexPlugin(QObject *parent) : QObject(parent) {}

QString ZntDayvexPlugin::name() const { return QStringLiteral("dayvex::zntDayvex"); }

QString ZntDayvexPlugin::group() const { return QStringLiteral("Dayvex"); }

QString ZntDayvexPlugin::toolTip() const
{
    return QStringLiteral("Agenda: day, week and month views, calendar, to-do list and reminders");
}

QString ZntDayvexPlugin::whatsThis() const
{
    return QStringLiteral("An embeddable agenda over the host's DayvexData: appointments in day, week and "
                          "month views beside a month calendar, a to-do list and reminders. Assign Plan and "
                          "call Refresh() from code.");
}

QString ZntDayvexPlugin::includeFile() const { return QStringLiteral("<dayvex/dayvex.h>"); }

QIcon ZntDayvexPlugin::icon() const { return paintCalendarIcon(); }

bool ZntDayvexPlugin::isContainer() const { return false; }

QWidget *ZntDayvexPlugin::createWidget(QWidget *parent) { return new dayvex::zntDayvex(parent); }

bool ZntDayvexPlugin::isInitialized() const { return m_initialized; }

void ZntDayvexPlugin::initialize(QDesignerFormEditorInterface *) { m_initialized = true; }

QString ZntDayvexPlugin::domXml() const
{
    // The widget box shows the class without its namespace; a new control gets
    // room for a readable week, well above the control's minimum size.
    return QStringLiteral(R"(<ui language="c++" displayname="zntDayvex">
 <widget class="dayvex::zntDayvex" name="zntDayvex">
  <property name="geometry">
   <rect>
    <x>0</x>
    <y>0</y>
    <width>760</width>
    <height>520</height>
   </rect>
  </property>
 </widget>
</ui>
)");
}
