import QtQuick
import QtTest
import TarqLinux

// Tests of the settings window, which is opened on one of its tabs. They begin with the defaults.
WindowTestCase {
    id: testCase

    readonly property SettingsStore store: fixture.settings

    document: Component {
        SettingsWindow {}
    }

    function init() {
        failOnWarning(/./);
        store.applyAutoStart(false);
        store.resetToDefaults();
    }

    // Opens the window on one of its tabs.
    function openOn(tab: string) {
        open({settingsStore: store, overlayStateModel: fixture.overlay});
        choose(tab);
    }

    function choose(tab: string) {
        mouseClick(tabOf(tab));
        verify(tabOf(tab).current);
        tryVerify(() => isSettled(item("pages")));
    }

    // Whether everything in here has its place, and clicks find it.
    function isSettled(parent: Item): bool {
        return !isPolishScheduled(parent) && Array.from(parent.children).every(isSettled);
    }

    function tabOf(name: string): Item {
        return Array.from(item("tabBar").children).find(tab => tab.text === name);
    }

    function toggleOf(row: string): Item {
        return findChild(item(row), "toggle");
    }

    // The settings as they are on disk.
    function saved(): var {
        return JSON.parse(fixture.readFile(store.configDirectory() + "/settings.json"));
    }

    function verifyWithinWindow(target: Item) {
        const corner = target.mapToItem(subject.contentItem, 0, 0);
        verify(corner.x >= 0 && corner.x + target.width <= subject.width);
        verify(corner.y >= 0 && corner.y + target.height <= subject.height);
    }
}
