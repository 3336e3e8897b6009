import QtQuick
import QtTest
import TarqLinux

WindowTestCase {
    id: testCase

    property var opacities: []
    property real started: 0

    name: "SplashWindow"
    document: Component {
        SplashWindow {}
    }

    SignalSpy {
        id: done

        target: testCase.subject
        signalName: "done"
    }

    Connections {
        target: testCase.subject ? testCase.item("content") : null

        function onOpacityChanged() {
            testCase.opacities.push(testCase.item("content").opacity);
        }
    }

    function init() {
        failOnWarning(/./);
        testCase.opacities = [];
        open({});
        done.clear();
    }

    function test_frame() {
        verifyFrame("Tarq", 760, 500);
        verify(subject.flags & Qt.FramelessWindowHint);
        verify(subject.flags & Qt.WindowStaysOnTopHint);
    }

    function test_card() {
        const card = item("card");
        compare([card.x, card.y, card.width, card.height], [1, 1, 758, 498]);
        compare(card.radius, 16);
        compare(card.border.width, 1);
        compare(String(card.border.color), "#18ffffff");
        compare(Array.from(card.gradient.stops).map(stop => String(stop.color)), ["#0c0d14", "#131929"]);
    }

    function test_contentFromTopToBottom() {
        const content = item("content");
        const shown = Array.from(content.children).filter(child => child.width > 1);
        compare(shown.map(child => child.text ?? ""),
                ["", "KESTRAM", "Tarq", "", "Voice to text, everywhere."]);
        const gaps = shown.slice(1).map((child, i) => child.y - shown[i].y - shown[i].height);
        compare(gaps, [24, 8, 16, 16]);
        compare([shown[0].width, shown[0].height], [64, 64]);
        compare(shown[0].status, Image.Ready);
        compare([shown[3].width, shown[3].height], [40, 1]);
        compare(String(shown[3].color), "#20ffffff");
        compare([1, 2, 4].map(i => shown[i].font.pixelSize), [11, 48, 15]);
        compare([1, 2].map(i => shown[i].font.letterSpacing), [4, 2]);
        fuzzyCompare(shown[4].font.letterSpacing, 0.3, 0.01);
        compare([1, 2].map(i => shown[i].font.weight), [Font.Medium, Font.Light]);
        compare([1, 2, 4].map(i => String(shown[i].color)), ["#5a6580", "#f7f9fc", "#5a6580"]);
        verifyNothingIsCutOff();
    }

    function test_fadesInAndOutOnce() {
        const content = item("content");
        compare(item("card").opacity, 1);
        tryVerify(() => opacities.includes(1));
        verify(fixture.takePicture(subject, "splash"));
        tryCompare(done, "count", 1);
        compare(content.opacity, 0);
        const peak = opacities.indexOf(1);
        verify(opacities.slice(0, peak).every((value, i) => i === 0 || value >= opacities[i - 1]));
        verify(opacities.slice(peak + 1).every((value, i, all) => i === 0 || value <= all[i - 1]));
    }

    function test_staysOpenAfterwards() {
        tryCompare(done, "count", 1);
        verify(subject.visible);
        compare(item("card").opacity, 1);
    }

    function test_takesNoInput() {
        mouseClick(subject.contentItem, 380, 250);
        mouseClick(subject.contentItem, 380, 10);
        fixture.pressKey(subject, Qt.Key_Escape);
        verify(subject.visible);
        compare(done.count, 0);
    }
}
