#include <dayvex/dayvex.h>

#include <QCalendarWidget>
#include <QTableView>

#include <QMetaProperty>
#include <QPluginLoader>
#include <QTest>
#include <QXmlStreamReader>
#include <QtUiPlugin/QDesignerCustomWidgetInterface>

using namespace dayvex;

namespace {

// What a form sets that the views depend on, in the order of a form.
const QList<std::pair<QByteArray, QVariant>> &formValues()
{
    static const QList<std::pair<QByteArray, QVariant>> values{
        {"DayStartTime", QStringLiteral("06:00")},
        {"DayEndTime", QStringLiteral("07:30")}, // before the default start of 08:00
        {"DayStepMinutes", 15},
        {"StartDay", QDate(2027, 3, 1)},
        {"LanguageFileName", QStringLiteral("missing-language.txt")},
    };
    return values;
}

} // namespace

class tst_DesignerPlugin : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString()));
        m_plugin = qobject_cast<QDesignerCustomWidgetInterface *>(m_loader.instance());
        QVERIFY(m_plugin);
        m_plugin->initialize(nullptr);
        QVERIFY(m_plugin->isInitialized());
    }

    void init()
    {
        qDeleteAll(m_form.findChildren<QWidget *>(Qt::FindDirectChildrenOnly));
    }

    void createsTheControlAtItsFormSize()
    {
        QXmlStreamReader xml(m_plugin->domXml());
        QVERIFY(xml.readNextStartElement() && xml.readNextStartElement());
        QCOMPARE(xml.attributes().value("class").toString(), m_plugin->name()); // or Designer cannot place it
        QSize size;
        while (xml.readNext() != QXmlStreamReader::EndDocument && !xml.hasError()) {
            if (xml.isStartElement() && xml.name() == u"width")
                size.setWidth(xml.readElementText().toInt());
            if (xml.isStartElement() && xml.name() == u"height")
                size.setHeight(xml.readElementText().toInt());
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));

        // A control of that size is laid out as it comes: no growing to the minimum.
        QWidget *control = m_plugin->createWidget(&m_form);
        QVERIFY(qobject_cast<zntDayvex *>(control));
        control->resize(size);
        control->show();
        QTest::qWait(20);
        QCOMPARE(control->size(), size);
    }

    void designablePropertiesAreEditable()
    {
        // Types the property editor edits; anything else would be left off its list.
        static const QList<int> editable{QMetaType::Bool, QMetaType::Int, QMetaType::QString, QMetaType::QDate};
        const QMetaObject &meta = zntDayvex::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            if (!property.isDesignable())
                continue;
            QVERIFY2(editable.contains(property.metaType().id()) || property.isEnumType(), property.name());
            QVERIFY2(property.isWritable(), property.name());
        }
    }

    // Set in the form's order and reversed: the views follow the last values either way.
    void formValuesStand()
    {
        for (const bool reversed : {false, true}) {
            QList<std::pair<QByteArray, QVariant>> values = formValues();
            if (reversed)
                std::reverse(values.begin(), values.end());
            QWidget *control = m_plugin->createWidget(&m_form);
            for (const auto &[name, value] : values)
                QVERIFY2(control->setProperty(name, value), name.constData());
            for (const auto &[name, value] : values)
                QCOMPARE(control->property(name), value);

            auto *agenda = static_cast<zntDayvex *>(control);
            agenda->resize(760, 520);
            agenda->Refresh(zntPlanShowDay);
            const QAbstractItemModel *grid = control->findChild<QTableView *>("Lista")->model();
            QCOMPARE(grid->rowCount(), 7); // 06:00 to 07:30 in quarters
            QCOMPARE(grid->index(0, 0).data().toString(), "6");
            QCOMPARE(grid->index(6, 1).data().toString(), "30");
            QCOMPARE(control->findChild<QWidget *>("Calendar")->findChild<QCalendarWidget *>()->selectedDate(),
                     QDate(2027, 3, 1));
            delete control;
        }
    }

private:
    QPluginLoader m_loader{QStringLiteral(DAYVEX_DESIGNER_PLUGIN)};
    QDesignerCustomWidgetInterface *m_plugin = nullptr;
    QWidget m_form;
};

QTEST_MAIN(tst_DesignerPlugin)
#include "tst_designerplugin.moc"
