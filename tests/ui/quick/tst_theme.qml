import QtQuick
import QtTest
import TavikUi

TestCase {
    name: "Theme"

    function test_palette_values() {
        // Eight-digit palette values are RRGGBBAA: the alpha is a byte, not a percentage.
        compare(Math.round(Radix.sandA6.a * 255), 0x26)
        compare(Radix.blue9, Qt.color("#0090ff"))
    }

    function test_symbols_resolve_to_glyphs() {
        verify(Icons.glyph("sun.max").length === 1)
        verify(Icons.glyph("tray") !== Icons.glyph("sun.max"))
    }
}
