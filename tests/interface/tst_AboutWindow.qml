import QtQuick
import QtTest
import TarqLinux

WindowTestCase {
    id: testCase

    name: "AboutWindow"
    document: Component {
        AboutWindow {}
    }

    function init() {
        failOnWarning(/./);
        fixture.startWorker();
        fixture.openedUrls = [];
        open({settingsStore: fixture.settings});
    }

    function label(): string {
        return item("updateButton").text;
    }

    function check(status: int, body: string) {
        fixture.answerWorker(status, body);
        mouseClick(item("updateButton"));
    }

    function test_frame() {
        verifyFrame("Tarq — About", 380, 460);
        compare([subject.minimumWidth, subject.minimumHeight], [380, 460]);
        verify(subject.flags & Qt.FramelessWindowHint);
        verifyNothingIsCutOff();
        verifyControlsHaveNames();
        verify(fixture.takePicture(subject, "about"));
    }

    function test_wordsFromTopToBottom() {
        compare(texts(), ["\u2715", "Tarq", "Voice to text, instantly", "Version 0.1.1",
                          "Linux desktop", "Check for updates", "Changelog", "Status", "Privacy",
                          "Terms", "Support", Deployment.legalLine, Deployment.websiteDomain]);
    }

    function test_lookOfTheCardAndTheButton() {
        const card = item("versionCard");
        compare([card.width, card.height, card.radius], [240, 60, 12]);
        compare(String(card.color), "#10ffffff");
        compare(String(card.border.color), "#22ffffff");
        const button = item("updateButton");
        compare([button.height, button.radius, button.font.pixelSize], [42, 10, 13]);
        verifyButtonColors(button, {fill: "#10FFFFFF", stroke: "#22FFFFFF", ink: "#F7F9FC"},
                           {fill: "#1AFFFFFF"}, {fill: "#22FFFFFF"});
        compare(fixture.takeWorkerRequests().length, 0);
    }

    function test_answers_data() {
        return [
            {tag: "newer version", status: 200,
             body: '{"latest": {"linux": {"version": "9.0.0", "download_url": "https://a.example/t"}}}',
             label: "Download v9.0.0", url: "https://a.example/t"},
            {tag: "older version", status: 200,
             body: '{"latest": {"linux": {"version": "0.0.9", "download_url": "https://a.example/t"}}}',
             label: "Download v0.0.9", url: "https://a.example/t"},
            {tag: "version without a place", status: 200,
             body: '{"latest": {"linux": {"version": "9.0.0"}}}', label: "Download v9.0.0", url: ""},
            {tag: "markup stays text", status: 200,
             body: '{"latest": {"linux": {"version": "<b>9</b>"}}}', label: "Download v<b>9</b>",
             url: ""},
            {tag: "same version", status: 200, body: '{"latest": {"linux": {"version": "0.1.1"}}}',
             label: "You're up to date", url: ""},
            {tag: "no latest", status: 200, body: '{"other": 1}', label: "No updates available",
             url: ""},
            {tag: "no linux", status: 200, body: '{"latest": {"windows": {"version": "9"}}}',
             label: "No updates available", url: ""},
            {tag: "no version", status: 200, body: '{"latest": {"linux": {}}}',
             label: "No updates available", url: ""},
            {tag: "null", status: 200, body: "null", label: "Failed to check", url: ""},
            {tag: "not json", status: 200, body: "<html>", label: "Failed to check", url: ""},
            {tag: "empty body", status: 200, body: "", label: "Failed to check", url: ""},
            {tag: "not found", status: 404, body: "{}", label: "Network error", url: ""},
            {tag: "another success", status: 201,
             body: '{"latest": {"linux": {"version": "9.0.0"}}}', label: "Network error", url: ""},
            {tag: "connection closed", status: 0, body: "", label: "Network error", url: ""}
        ];
    }

    function test_answers(data) {
        check(data.status, data.body);
        compare(label(), "Checking…");
        tryVerify(() => label() !== "Checking…");
        compare(label(), data.label);
        compare(subject.updateDownloadUrl, data.url);
        verifyNothingIsCutOff();
        verify(fixture.takePicture(subject, "about-" + data.tag.replace(/ /g, "-")));
    }

    function test_noWorkerAtAll() {
        fixture.stopWorker();
        mouseClick(item("updateButton"));
        tryVerify(() => label() === "Network error");
    }

    function test_requestIsPlain() {
        check(200, "{}");
        tryVerify(() => label() === "No updates available");
        const requests = fixture.takeWorkerRequests();
        compare(requests.length, 1);
        compare(requests[0].method, "GET");
        compare(requests[0].target, "/v1/version");
        verify(!("authorization" in requests[0].headers));
        compare(requests[0].body, "");
    }

    function test_clickOnAnOfferOpensIt() {
        check(200, '{"latest": {"linux": {"version": "9", "download_url": "https://a.example/t"}}}');
        tryVerify(() => label() === "Download v9");
        mouseClick(item("updateButton"));
        compare(fixture.openedUrls, ["https://a.example/t"]);
        compare(label(), "Download v9");
        compare(fixture.takeWorkerRequests().length, 1);
    }

    function test_clickOnAnOfferWithoutAPlaceChecksAgain() {
        check(200, '{"latest": {"linux": {"version": "9"}}}');
        tryVerify(() => label() === "Download v9");
        check(200, "{}");
        tryVerify(() => label() === "No updates available");
        compare(fixture.openedUrls, []);
        compare(fixture.takeWorkerRequests().length, 2);
    }

    function test_clickDuringACheckStartsAnother() {
        check(200, "{}");
        compare(label(), "Checking…");
        mouseClick(item("updateButton"));
        // There was one answer only; the other request gets an error.
        tryVerify(() => label() === "Network error");
        compare(fixture.takeWorkerRequests().length, 2);
    }

    function test_newWindowKnowsNothingOfTheLastCheck() {
        check(404, "");
        tryVerify(() => label() === "Network error");
        cleanup();
        open({settingsStore: fixture.settings});
        compare(label(), "Check for updates");
    }

    function test_links_data() {
        return [
            {tag: "Changelog", path: "/releases/changelog"},
            {tag: "Status", path: "/status"},
            {tag: "Privacy", path: "/privacy"},
            {tag: "Terms", path: "/terms"},
            {tag: "Support", path: "/support"}
        ];
    }

    function test_links(data) {
        const link = Array.from(item("links").children).find(child => child.text === data.tag);
        tryColor(() => link.contentItem.color, "#7B8AA7");
        // The rim around the text belongs to it.
        mouseClick(link, 1, 1);
        compare(fixture.openedUrls, [Deployment.websiteUrl + data.path]);
        compare(link.contentItem.x, 4);
        compare(link.contentItem.y, 4);
        hover(link);
        tryColor(() => link.contentItem.color, "#8FE9FF");
    }

    function test_closeButton() {
        mouseClick(item("closeButton"));
        verify(!subject.visible);
    }

    function test_dragsByItsTop() {
        verifyDrags(10, 47, true);
        verifyDrags(10, 49, false);
    }

    function test_keyboardReachesEveryControl() {
        activate();
        const reached = [];
        for (let i = 0; i < 7; ++i) {
            keyClick(Qt.Key_Tab);
            verify(subject.activeFocusItem.visualFocus);
            reached.push(subject.activeFocusItem.text);
        }
        compare(reached, ["\u2715", "Check for updates", "Changelog", "Status", "Privacy", "Terms",
                          "Support"]);
        keyClick(Qt.Key_Return);
        compare(fixture.openedUrls, [Deployment.websiteUrl + "/support"]);
    }
}
