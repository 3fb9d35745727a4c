"""The page in a real browser, as somebody at the keyboard and mouse uses it."""

import json
import pathlib
import tempfile
import time

import pytest
from selenium import webdriver
from selenium.webdriver import ActionChains
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

from conftest import SMALL

WAIT = 30


def browser_binary():
    for path in ("/usr/bin/chromium-headless-shell", "/usr/bin/chromium"):
        if pathlib.Path(path).exists():
            return path
    raise RuntimeError("no Chromium: scripts/install-dependencies browser")


def open_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = browser_binary()
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", "--window-size=1280,720",
                     f"--user-data-dir={tempfile.mkdtemp(prefix='qelm-page-')}"):
        options.add_argument(argument)
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


class Page:
    def __init__(self, browser, server):
        self.browser = browser
        self.server = server
        browser.get("about:blank")  # so that the token's fragment loads the page anew
        browser.get(server.url)
        self.until(lambda: self.text("rate") != "–" and self.find("#parameter-FG_WIDTH").get_attribute("value") != "")
        self.until(lambda: not self.find("#empty").is_displayed())

    def until(self, condition, what="what was expected"):
        def holds(_):
            try:
                return condition()
            except Exception:  # not there yet, or replaced meanwhile
                return False
        WebDriverWait(self.browser, WAIT, 0.1).until(holds, f"{what} did not come")

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, identifier):
        return self.find(f"#{identifier}").text

    def run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def panel(self, name):
        self.find(f"#tab-{name}").click()

    def show(self, name):
        """Brings a parameter's field into view."""
        field = self.find(f"#parameter-{name}")
        self.run("for (let at = arguments[0]; at; at = at.parentElement) if (at.tagName === 'DETAILS') at.open = true;"
                 "arguments[0].scrollIntoView({block: 'center'})", field)
        return field

    def enter(self, name, value):
        field = self.show(name)
        field.send_keys(Keys.CONTROL, "a")
        field.send_keys(str(value), Keys.TAB)

    def mean_colour(self):
        """Of the picture's canvas, 0 to 255."""
        return self.run("""const c = document.getElementById("picture");
            const d = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
            let sum = 0, count = 0;
            for (let i = 0; i < d.length; i += 4) if (d[i + 3]) { sum += d[i]; ++count; }
            return count ? sum / count : -1;""")


@pytest.fixture(scope="module")
def browser():
    one = open_browser()
    yield one
    one.quit()


@pytest.fixture
def page(browser, start):
    return Page(browser, start(*SMALL))


def test_a_parameter_changes_the_picture(page):
    page.enter("FG_WIDTH", 128)
    page.until(lambda: page.server.value("FG_WIDTH") == 128, "the width")
    page.until(lambda: "128" in page.text("histogram-text") or "16384 pixels" in page.text("histogram-text"))
    row = page.find("[data-name=FG_WIDTH]")
    assert "changed" in row.get_attribute("class")
    assert "Buffer_0_ROI_X_Length=128" in page.text("writes")
    row.find_element(By.TAG_NAME, "button").click()
    page.until(lambda: page.server.value("FG_WIDTH") == 256, "the reset")
    before = page.mean_colour()
    page.enter("FG_PROCESSING_INVERT", "On")
    page.until(lambda: abs(page.mean_colour() - (255 - before)) < 12, "the inverted picture")


def test_a_refused_value_says_why_beside_the_field(page):
    page.enter("FG_WIDTH", 100)
    page.until(lambda: "multiple" in page.find("[data-name=FG_WIDTH] .refusal").text, "the refusal")
    refusal = page.find("[data-name=FG_WIDTH] .refusal").text
    assert "16 to 256 pixel in steps of 16" in refusal and "In force: 256 pixel" in refusal
    assert page.find("#parameter-FG_WIDTH").get_attribute("value") == "256"
    assert page.server.value("FG_WIDTH") == 256
    page.enter("FG_PROCESSING_GAIN", Keys.DELETE)  # an empty field is no 0
    page.until(lambda: "no number" in page.find("[data-name=FG_PROCESSING_GAIN] .refusal").text, "the refusal")
    assert page.find("#parameter-FG_PROCESSING_GAIN").get_attribute("value") == "1"
    assert page.server.value("FG_PROCESSING_GAIN") == 1


def test_search_finds_parameters(page):
    page.find("#parameter-search").send_keys("gamma")
    page.until(lambda: page.find("[data-name=FG_PROCESSING_GAMMA]").is_displayed())
    assert not page.find("[data-name=FG_WIDTH]").is_displayed()


def test_a_region_is_drawn_with_the_mouse(page):
    Select(page.find("#tool")).select_by_value("region")
    picture = page.find("#picture")
    ActionChains(page.browser).move_to_element_with_offset(picture, -60, -30).click_and_hold().move_by_offset(
        90, 50).release().perform()
    page.until(lambda: page.server.value("FG_WIDTH") < 256, "the region")
    assert page.server.value("FG_WIDTH") % 16 == 0
    assert page.server.value("FG_XOFFSET") + page.server.value("FG_WIDTH") <= 256
    page.until(lambda: page.find("#parameter-FG_WIDTH").get_attribute("value") == str(page.server.value("FG_WIDTH")))


def test_read_out_zoom_and_levels(page):
    picture = page.find("#picture")
    ActionChains(page.browser).move_to_element(picture).perform()
    page.until(lambda: page.text("readout").startswith("x 1") and "of 255" in page.text("readout"), "the read-out")
    before = page.text("zoom-value")
    picture.send_keys("+")
    page.until(lambda: page.text("zoom-value") != before)
    page.find("#fit").click()
    page.until(lambda: page.text("zoom-value") == before)
    assert (page.find("#low").get_attribute("value"), page.find("#high").get_attribute("value")) == ("0", "255")
    page.find("#auto").click()
    page.find("#full").click()
    page.until(lambda: page.find("#high").get_attribute("value") == "255")
    page.find("#false-colours").click()
    page.until(lambda: page.run("""const c = document.getElementById("picture");
        const d = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
        for (let i = 0; i < d.length; i += 4) if (d[i] !== d[i + 1]) return true; return false;"""))


def test_trigger_burst_and_diagram(browser, start):
    page = Page.__new__(Page)
    page.browser, page.server = browser, start(*SMALL, "FG_AREATRIGGERMODE=ATM_EXTERNAL",
                                               "FG_TRIGGER_FRAMESPERSECOND=100")
    browser.get("about:blank")
    browser.get(page.server.url)
    page.until(lambda: page.text("rate") != "–")
    page.panel("trigger")
    for name, value in (("count", 3), ("period", 20000)):
        field = page.find(f"#pulse-{name}")
        field.clear()
        field.send_keys(str(value))
    def inked():
        return page.run("""const c = document.querySelector("#panel-trigger canvas");
            const d = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
            let n = 0; for (let i = 3; i < d.length; i += 4) n += d[i] > 0; return n;""")
    page.until(lambda: inked() > 0)
    quiet = inked()
    page.find("#panel-trigger button.main").click()
    page.until(lambda: page.server.get("/api/statistics")["frames"] == 3, "the pictures")
    page.until(lambda: inked() > quiet + 200, "the pulses in the diagram")
    page.until(lambda: "ms" in page.find("#panel-trigger [aria-label=Events]").text, "the events")


def test_the_lookup_table_follows_the_mouse_and_the_keys(page):
    page.panel("lut")
    before = page.server.get("/api/lut")["values"]
    plot = page.find("#panel-lut canvas")
    page.until(lambda: page.run("return document.querySelector('#panel-lut canvas').width > 300"))
    time.sleep(0.5)
    ActionChains(page.browser).move_to_element(plot).click_and_hold().move_by_offset(0, -60).release().perform()
    page.until(lambda: page.server.get("/api/lut")["values"] != before, "the dragged point")
    after = page.server.get("/api/lut")["values"]
    assert max(abs(new - old) for new, old in zip(after, before)) > 300
    plot.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_UP)
    page.until(lambda: page.server.get("/api/lut")["values"] != after, "the key's move")
    gamma = page.find("#slider-FG_PROCESSING_GAMMA")
    gamma.send_keys(Keys.ARROW_RIGHT)
    page.until(lambda: page.server.value("FG_PROCESSING_GAMMA") != 1, "the slider")


def test_the_shading_wizard(browser, start):
    page = Page(browser, start("--camera", "match,sensor=typical", "--scene", "gray", *SMALL))
    page.panel("shading")
    for kind in ("black", "gray"):
        page.find(f"#take-{kind}").click()
        page.until(lambda: "averaged" in page.find(f"#take-{kind}").find_element(By.XPATH, "..").text, kind)
    page.find("#compute-shading").click()
    page.until(lambda: page.find("#residual").is_displayed(), "the residual")
    rows = page.browser.find_elements(By.CSS_SELECTOR, "#residual tbody tr")
    before, after = [float(row.find_elements(By.TAG_NAME, "td")[0].text.split()[0]) for row in rows]
    assert after < before / 2
    page.until(lambda: page.run("return document.querySelector('#panel-shading canvas').width") > 0)


def test_configurations_are_looked_at_before_they_are_loaded(page, tmp_path):
    def choose(name, content):
        file = tmp_path / name
        file.write_bytes(content)
        page.find("#configuration-file").send_keys(str(file))
        return file

    page.server.set(FG_WIDTH=128)
    good = page.server.get("/api/configuration")
    page.server.post("/api/parameters/reset", {"names": ["FG_WIDTH"]})
    page.panel("configuration")
    load = page.find("#panel-configuration button.main:not(.other)")
    choose("damaged.kcf", b"\0damaged")
    page.until(lambda: page.find("#configuration-report").text != "", "the report")
    assert not load.is_enabled()
    file = choose("good.kcf", good)
    page.until(lambda: "FG_WIDTH" in page.text("configuration-report"), "the difference")
    assert page.server.value("FG_WIDTH") == 256
    # What was looked at is loaded, whatever became of the file.
    file.write_bytes(b"\0damaged")
    load.click()
    page.until(lambda: page.server.value("FG_WIDTH") == 128, "the load")


def test_two_tabs_follow_each_other_and_a_reload_changes_nothing(page):
    first = page.browser.current_window_handle
    page.browser.switch_to.new_window("tab")
    try:
        page.browser.get(page.server.url)
        page.until(lambda: page.find("#parameter-FG_WIDTH").get_attribute("value") == "256")
        page.enter("FG_WIDTH", 144)
        page.until(lambda: page.server.value("FG_WIDTH") == 144)
        page.browser.switch_to.window(first)
        page.until(lambda: page.find("#parameter-FG_WIDTH").get_attribute("value") == "144", "the other tab's change")
        before = page.server.get("/api/parameters")["revision"]
        page.browser.refresh()
        page.until(lambda: page.find("#parameter-FG_WIDTH").get_attribute("value") == "144", "the page")
        assert page.server.get("/api/parameters")["revision"] == before
    finally:
        for handle in page.browser.window_handles:
            if handle != first:
                page.browser.switch_to.window(handle)
                page.browser.close()
        page.browser.switch_to.window(first)


def test_a_lost_server_is_said(page):
    page.server.stop()
    page.until(lambda: page.find("#banner").is_displayed() and "lost" in page.text("banner"), "the banner")


def test_every_control_has_a_name(page):
    for name in ("parameters", "trigger", "lut", "shading", "configuration", "camera"):
        page.panel(name)
    tree = page.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
    controls = [node for node in tree if not node.get("ignored") and node.get("role", {}).get("value") in (
        "button", "checkbox", "combobox", "textbox", "spinbutton", "slider", "tab", "searchbox", "link", "img",
        "application")]
    assert len(controls) > 20
    assert [node["role"]["value"] for node in controls if not node.get("name", {}).get("value")] == []


def test_a_cameras_options_by_their_fields(page):
    page.panel("camera")
    page.until(lambda: page.find("#camera-match").is_selected(), "the fields")
    noise = page.find("#camera-noise")
    noise.send_keys("40", Keys.TAB)
    Select(page.find("#camera-sensor")).select_by_visible_text("typical")
    options = page.find("#camera-options")
    assert options.get_attribute("value") == "match,sensor=typical,noise=40"
    options.clear()
    options.send_keys("geometry=Geometry_2XM_2YE,scene=ramp,noise=40", Keys.TAB)
    Select(page.find("#camera-polarity")).select_by_visible_text("high")
    assert options.get_attribute("value") == "geometry=Geometry_2XM_2YE,polarity=high,noise=40,scene=ramp"
    options.clear()
    options.send_keys("match,sensor=typical,noise=40", Keys.TAB)
    page.find("#camera-connect").click()
    page.until(lambda: page.server.get("/api/camera")["connected"].endswith(",sensor=typical,noise=40"))
    noise.clear()
    noise.send_keys("loud", Keys.TAB)
    page.find("#camera-connect").click()
    page.until(lambda: "noise" in page.text("messages") and "1024" in page.text("messages"), "the refusal")


def test_no_request_leaves_the_server_and_nothing_is_complained_of(page):
    for kind in ("performance", "browser"):
        page.browser.get_log(kind)  # of the tests before, which lost their server on purpose
    page.browser.refresh()
    page.until(lambda: page.text("rate") != "–")
    for name in ("trigger", "lut", "shading", "configuration", "camera", "parameters"):
        page.panel(name)
        time.sleep(0.2)
    sent = [json.loads(entry["message"])["message"] for entry in page.browser.get_log("performance")]
    urls = [message["params"]["request"]["url"] for message in sent if message["method"] == "Network.requestWillBeSent"]
    assert urls
    own = f"http://127.0.0.1:{page.server.port}/"
    assert [url for url in urls if not url.startswith(own) and not url.startswith(("data:", "blob:"))] == []
    assert [entry for entry in page.browser.get_log("browser") if entry["level"] == "SEVERE"] == []


def test_the_page_fits_a_small_screen(page):
    for name in ("parameters", "trigger", "lut", "shading", "configuration", "camera"):
        page.panel(name)
        wide, tall = page.run("return [document.documentElement.scrollWidth, document.documentElement.scrollHeight]")
        inner = page.run("return [innerWidth, innerHeight]")
        assert wide <= inner[0] and tall <= inner[1], name
    assert page.run("return document.getElementById('stage').clientHeight") >= 200
