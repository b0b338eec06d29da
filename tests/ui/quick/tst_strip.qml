import QtQuick
import QtTest
import TavikUi

Item {
    id: root
    width: 520
    height: 300

    readonly property string work: "6b1f0c6e-5d53-4a0e-9a3c-2f1b7c8d9e01"
    readonly property string home: "0d2c4e6f-8a1b-4c3d-9e5f-7a6b5c4d3e02"
    readonly property string odd: "a4b3c2d1-e5f6-4789-8abc-def012345603"

    ListModel {
        id: lists
    }

    Component {
        id: stripComponent
        CompactCategoryStrip {
            x: 20
            y: 20
            categories: lists
        }
    }

    Component {
        id: spyComponent
        SignalSpy {}
    }

    TestCase {
        id: test
        name: "CategoryStrip"
        when: windowShown

        function makeStrip(properties) {
            const strip = createTemporaryObject(stripComponent, root, properties || {});
            verify(strip);
            waitForRendering(strip);
            return strip;
        }

        function spy(target, signalName) {
            return createTemporaryObject(spyComponent, test, { target: target, signalName: signalName });
        }

        function tab(strip, categoryId) {
            const found = findChild(strip, categoryId === "" ? "tabAll" : "tab_" + categoryId);
            verify(found, "no tab for '" + categoryId + "'");
            return found;
        }

        function typeText(text) {
            for (let i = 0; i < text.length; ++i)
                keyClick(text[i] === " " ? Qt.Key_Space : text[i]);
        }

        function openCreatePopover(strip) {
            mouseClick(findChild(strip, "plusButton"));
            const popover = strip.createPopover;
            tryCompare(popover, "opened", true);
            tryVerify(() => popover.nameField.activeFocus, 1000, "name field never took focus");
            return popover;
        }

        function init() {
            lists.clear();
            lists.append({ categoryId: work, name: "工作", colorHex: "E5484D" });
            lists.append({ categoryId: home, name: "家", colorHex: "#46a758" });
            lists.append({ categoryId: odd, name: "杂项", colorHex: "not hex" });
        }

        function test_pressing_a_tab_reports_it_and_moves_nothing_by_itself() {
            const strip = makeStrip({ selectedCategoryId: "", reduceMotion: true });
            const selects = spy(strip, "selectRequested");
            mouseClick(tab(strip, home));
            compare(selects.count, 1);
            compare(selects.signalArguments[0][0], home);
            verify(tab(strip, "").isSelected);
            strip.selectedCategoryId = home;
            mouseClick(tab(strip, ""));
            compare(selects.count, 2);
            compare(selects.signalArguments[1][0], "");
            mouseClick(tab(strip, work), undefined, undefined, Qt.RightButton);
            compare(selects.count, 2);
            tab(strip, work).menu.close();
        }

        function test_deleting_the_selected_list_hides_the_pill() {
            const strip = makeStrip({ selectedCategoryId: home, reduceMotion: true });
            verify(strip.pill.visible);
            compare(strip.pill.x, tab(strip, home).x);
            compare(strip.pill.width, tab(strip, home).width);
            lists.remove(1);
            compare(findChild(strip, "tab_" + home), null);
            verify(!strip.pill.visible);
        }

        function test_create_with_return_trims_and_takes_the_picked_colour() {
            const strip = makeStrip({ reduceMotion: true });
            const creates = spy(strip, "createRequested");
            const popover = openCreatePopover(strip);
            verify(strip.creating);

            typeText("   ");
            verify(!popover.createButton.enabled);
            keyClick(Qt.Key_Return);
            compare(creates.count, 0);
            verify(popover.opened);

            typeText("errands ");

            mouseClick(popover.colorButton);
            tryCompare(popover.colorPopover, "opened", true);
            mouseClick(findChild(popover.colorPopover.contentItem, "colorChoice3"));
            tryCompare(popover.colorPopover, "visible", false);
            tryVerify(() => popover.nameField.activeFocus, 1000);

            keyClick(Qt.Key_Return);
            compare(creates.count, 1);
            compare(creates.signalArguments[0][0], "errands");
            compare(creates.signalArguments[0][1], "46A758");
            tryCompare(popover, "visible", false);
            verify(!strip.creating);
        }

        function test_every_opening_starts_clean() {
            const strip = makeStrip({ reduceMotion: true });
            const creates = spy(strip, "createRequested");
            let popover = openCreatePopover(strip);
            typeText("draft");
            popover.controller.pickColor("8E4EC6");
            keyClick(Qt.Key_Escape);
            tryCompare(popover, "visible", false);
            verify(!strip.creating);
            compare(creates.count, 0);

            popover = openCreatePopover(strip);
            compare(popover.nameField.text, "");
            compare(popover.controller.draftColor, CategoryPalette.first);
            verify(!popover.createButton.enabled);
            keyClick(Qt.Key_Escape);
            tryCompare(popover, "visible", false);
        }
    }
}
