#include "lists/CategoryPalette.h"

#include <QSet>
#include <QTest>

class TestCategoryPalette : public QObject {
    Q_OBJECT

private slots:
    void tenDistinctColoursStartingWithTheProposedOne() {
        const QStringList hexes = CategoryPalette::hexes();
        QCOMPARE(hexes.size(), 10);
        QCOMPARE(hexes.first(), CategoryPalette::first());
        QCOMPARE(hexes.last(), QStringLiteral("8B8D98"));
        QSet<QRgb> seen;
        for (const QString& hex : hexes) {
            const QColor color = CategoryPalette::color(hex);
            QCOMPARE(color.name(QColor::HexRgb).mid(1).toUpper(), hex);
            seen.insert(color.rgb());
        }
        QCOMPARE(seen.size(), 10);
    }

    void colorFromHex_data() {
        QTest::addColumn<QString>("hex");
        QTest::addColumn<QString>("expected");

        const auto row = [](const char* tag, const char* hex, const char* expected) {
            QTest::newRow(tag) << QString::fromUtf8(hex) << QString::fromLatin1(expected);
        };
        row("upper case", "E5484D", "#e5484d");
        row("lower case with leading #", "#e5484d", "#e5484d");
        row("# at both ends, repeated", "##E5484D##", "#e5484d");
        row("0x prefix", "0xE5484D", "#e5484d");
        row("leading blanks", "  0090FF", "#0090ff");
        row("stops at the first non-digit", "46A758 green", "#46a758");
        row("short number is right-aligned", "FFF", "#000fff");
        row("eight digits keep the low 24 bits", "E5484D80", "#484d80");
        row("# in the middle ends the number", "E5#484D", "#0000e5");
        row("overlong saturates to white", "123456789ABCDEF0123", "#ffffff");
        row("not hex is black", "zz", "#000000");
        row("a sign is not a digit", "-1", "#000000");
        row("bare 0x is zero", "0x", "#000000");
        row("only #", "#", "#000000");
        row("empty", "", "#000000");
    }

    void colorFromHex() {
        QFETCH(QString, hex);
        QFETCH(QString, expected);
        const QColor color = CategoryPalette::color(hex);
        QVERIFY(color.isValid());
        QCOMPARE(color.spec(), QColor::Rgb);
        QCOMPARE(color.alpha(), 255);
        QCOMPARE(color.name(QColor::HexRgb), expected);
    }
};

QTEST_GUILESS_MAIN(TestCategoryPalette)

#include "tst_categorypalette.moc"
