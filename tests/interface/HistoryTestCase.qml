import QtQuick
import QtTest
import TarqLinux

// Tests of the history window, on a history of their own.
WindowTestCase {
    id: testCase

    // 6 May 2024, 15:04 in the tests' time zone.
    readonly property real newest: new Date(2024, 4, 6, 15, 4).getTime()
    property HistoryRepository history: null
    readonly property SignalSpy logouts: SignalSpy {
        target: fixture.overlay
        signalName: "logoutRequested"
    }
    readonly property SignalSpy changes: SignalSpy {
        target: testCase.history
        signalName: "historyChanged"
    }

    document: Component {
        HistoryWindow {}
    }

    function init() {
        failOnWarning(/./);
        fixture.clearClipboard();
        fixture.setUserEmail("anna@example.org");
        fixture.openedUrls = [];
        logouts.clear();
    }

    function openWith(texts: var) {
        history = fixture.makeHistory(texts, testCase.newest);
        open({historyRepository: history, overlayStateModel: fixture.overlay});
        changes.clear();
        activate();
    }

    function list(): Item {
        return item("list");
    }

    // The cards that are on the screen, from top to bottom.
    function cards(): var {
        list().forceLayout();
        const found = [];
        for (let i = 0; i < list().count; ++i) {
            const card = list().itemAtIndex(i);
            if (card !== null && card.y + card.height > list().contentY
                    && card.y < list().contentY + list().height) {
                found.push(card);
            }
        }
        return found;
    }

    function shownTexts(): var {
        return cards().map(card => card.modelData.text);
    }

    function type(text: string) {
        item("searchField").forceActiveFocus();
        for (const character of text) {
            keyClick(character);
        }
    }

    function labelWidth(button: Item): real {
        return Math.ceil(textItems(button)[0].implicitWidth);
    }

    function manyTexts(count: int): var {
        return Array.from({length: count}, (value, i) => "Transcript number " + i);
    }
}
