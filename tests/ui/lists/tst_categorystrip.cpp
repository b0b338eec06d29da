// The strip in a real window, fed by the board's own list model: layout against the board's
// roles, pointer and keyboard through the create popover, and screenshots for a person to
// compare (saved when TAVIK_SCREENSHOT_DIR is set).
#include "QuickWindowTestSupport.h"
#include "TaskCategory.h"
#include "lists/CategoryListModel.h"
#include "lists/CategoryPalette.h"

#include <QDir>
#include <QFile>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using QuickWindowTest::click;
using QuickWindowTest::findItem;

namespace {

const QByteArray scene = R"(
import QtQuick
import TavikUi

Rectangle {
    id: board
    required property var lists
    property string selected: ""
    property var created: []
    width: 340
    height: 190
    color: Radix.appBackground

    CompactCategoryStrip {
        objectName: "strip"
        x: 18
        y: 12
        categories: board.lists
        selectedCategoryId: board.selected
        reduceMotion: true
        onSelectRequested: id => board.selected = id
        onCreateRequested: (name, colorHex) => board.created = [name, colorHex]
    }
}
)";

// Alpha-blends `over` onto an opaque `under`, as the scene graph does.
QColor blend(const QColor& under, const QColor& over) {
    const double a = over.alphaF();
    return QColor::fromRgbF(under.redF() * (1 - a) + over.redF() * a,
                            under.greenF() * (1 - a) + over.greenF() * a,
                            under.blueF() * (1 - a) + over.blueF() * a);
}

bool near(const QColor& a, const QColor& b, int tolerance = 3) {
    return qAbs(a.red() - b.red()) <= tolerance && qAbs(a.green() - b.green()) <= tolerance &&
           qAbs(a.blue() - b.blue()) <= tolerance;
}

} // namespace

class TestCategoryStrip : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        const QDateTime now = QDateTime::currentDateTime();
        const QList<QPair<QString, QString>> lists{
            {QStringLiteral("工作"), QStringLiteral("E5484D")},
            {QStringLiteral("家"), QStringLiteral("46A758")},
            {QStringLiteral("阅读"), QStringLiteral("0090FF")},
            {QStringLiteral("杂项"), QStringLiteral("8B8D98")}};
        qint64 sortIndex = 1;
        for (const auto& [name, hex] : lists)
            m_categories.append(new TaskCategory(name, hex, sortIndex++, now));
        m_model.setCategories(m_categories);

        m_engine = std::make_unique<QQmlEngine>();
        m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }

    void cleanupTestCase() {
        m_view.reset();
        m_engine.reset();
        qDeleteAll(m_categories);
    }

    void init() {
        m_view = std::make_unique<QQuickView>(m_engine.get(), nullptr);
        m_view->setInitialProperties({{QStringLiteral("lists"), QVariant::fromValue(&m_model)}});
        QVERIFY(m_dir.isValid());
        QFile file(m_dir.filePath(QStringLiteral("Scene.qml")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(scene);
        file.close();
        m_view->setSource(QUrl::fromLocalFile(file.fileName()));
        QVERIFY2(m_view->status() == QQuickView::Ready,
                 qPrintable(m_view->errors().value(0).toString()));
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_strip = m_view->rootObject()->findChild<QQuickItem*>(QStringLiteral("strip"));
        QVERIFY(m_strip);
    }

    void selectedListDrawsItsPill() {
        QQuickItem* workTab = tab(m_categories[0]);
        QVERIFY(workTab);
        click(m_view.get(), workTab);
        QCOMPARE(m_view->rootObject()->property("selected").toString(),
                 m_categories[0]->id().toString(QUuid::WithoutBraces));
        QTRY_VERIFY(workTab->property("isSelected").toBool());
        // The tab grows by its name; the pill follows a frame later.
        QTRY_VERIFY(workTab->width() > 50);
        QTest::qWait(50);

        const QImage image = m_view->grabWindow();
        const QColor background = image.pixelColor(2, 2);
        const QPointF pillEdge =
            workTab->mapToScene(QPointF(workTab->width() - 4, workTab->height() / 2));
        // sandA4 over the board: black at 0x17 in light, white at 0x1C in dark.
        const bool light = near(background, QColor(0xF6, 0xF4, 0xF0));
        QVERIFY(light || near(background, QColor(0x11, 0x11, 0x10)));
        const QColor pillColor =
            blend(background, light ? QColor(0, 0, 0, 0x17) : QColor(255, 255, 255, 0x1C));
        QVERIFY2(near(image.pixelColor(pillEdge.toPoint()), pillColor),
                 qPrintable(image.pixelColor(pillEdge.toPoint()).name()));

        // 全部 is not selected any more: no pill there, and no name.
        QQuickItem* allTab = findItem(m_strip, QStringLiteral("tabAll"));
        const QPointF allEdge = allTab->mapToScene(QPointF(2, allTab->height() / 2));
        QCOMPARE(image.pixelColor(allEdge.toPoint()), background);
        save(image, QStringLiteral("strip-selected"));
    }

    void createPopoverTakesTypingAndColour() {
        click(m_view.get(), tab(m_categories[1]));
        QTRY_VERIFY(tab(m_categories[1])->property("isSelected").toBool());

        QQuickItem* plus = findItem(m_strip, QStringLiteral("plusButton"));
        click(m_view.get(), plus);
        auto* popover = m_strip->property("createPopover").value<QObject*>();
        QVERIFY(popover);
        QTRY_VERIFY(popover->property("opened").toBool());
        auto* nameField = popover->property("nameField").value<QQuickItem*>();
        QTRY_VERIFY(nameField->hasActiveFocus());

        for (const QChar c : QStringLiteral("旅行"))
            QTest::sendKeyEvent(QTest::Click, m_view.get(), Qt::Key_unknown, QString(c), {});
        QCOMPARE(nameField->property("text").toString(), QStringLiteral("旅行"));

        click(m_view.get(), popover->property("colorButton").value<QQuickItem*>());
        auto* colorPopover = popover->property("colorPopover").value<QObject*>();
        QTRY_VERIFY(colorPopover->property("opened").toBool());
        QTest::qWait(50);
        save(m_view->grabWindow(), QStringLiteral("strip-color-popover"));

        auto* choice = findItem(colorPopover->property("contentItem").value<QQuickItem*>(),
                                QStringLiteral("colorChoice4"));
        click(m_view.get(), choice);
        QTRY_VERIFY(!colorPopover->property("visible").toBool());
        QTRY_VERIFY(nameField->hasActiveFocus());
        QTest::qWait(50);

        const QImage image = m_view->grabWindow();
        // The colour button's swatch now shows the picked colour as its border.
        auto* colorButton = popover->property("colorButton").value<QQuickItem*>();
        const QPointF swatchBorder = colorButton->mapToScene(QPointF(colorButton->width() / 2, 5));
        QVERIFY(
            near(image.pixelColor(swatchBorder.toPoint()), CategoryPalette::color("00A2C7"), 40));
        save(image, QStringLiteral("strip-create-popover"));

        QTest::keyClick(m_view.get(), Qt::Key_Return);
        const QStringList created = m_view->rootObject()->property("created").toStringList();
        QCOMPARE(created, (QStringList{QStringLiteral("旅行"), QStringLiteral("00A2C7")}));
        QTRY_VERIFY(!popover->property("visible").toBool());
    }

    void tabMenuOpensOnARightClick() {
        QQuickItem* readingTab = tab(m_categories[2]);
        click(m_view.get(), readingTab, Qt::RightButton);
        auto* menu = readingTab->property("menu").value<QObject*>();
        QVERIFY(menu);
        QTRY_VERIFY(menu->property("opened").toBool());
        QTest::qWait(50);
        save(m_view->grabWindow(), QStringLiteral("strip-tab-menu"));
    }

private:
    QQuickItem* tab(TaskCategory* category) const {
        return findItem(m_strip,
                        QStringLiteral("tab_") + category->id().toString(QUuid::WithoutBraces));
    }

    static void save(const QImage& image, const QString& name) {
        const QString dir = qEnvironmentVariable("TAVIK_SCREENSHOT_DIR");
        if (dir.isEmpty())
            return;
        QDir().mkpath(dir);
        const QString appearance =
            qEnvironmentVariable("TAVIK_APPEARANCE", QStringLiteral("default"));
        QVERIFY(image.save(QStringLiteral("%1/%2-%3.png").arg(dir, name, appearance)));
    }

    QList<TaskCategory*> m_categories;
    CategoryListModel m_model;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickView> m_view;
    QTemporaryDir m_dir;
    QQuickItem* m_strip = nullptr;
};

QTEST_MAIN(TestCategoryStrip)

#include "tst_categorystrip.moc"
