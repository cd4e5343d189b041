#!/usr/bin/env python3
"""The panel in a real browser: panel_test.py BIN, the folder of the built programs.

Exit 77 with "skipped: no browser" where chromium, its driver or the client for it is missing. With a folder in
TLG_SCREENSHOTS it writes three pictures there.
"""
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request

try:
    from selenium import webdriver
    from selenium.common.exceptions import WebDriverException
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    webdriver = None

PROGRAMS = ""
PATIENCE = float(os.environ.get("TLG_TEST_PATIENCE", 20))


def until(what, condition, least=0):
    end = time.monotonic() + least + PATIENCE
    last = None
    while time.monotonic() < end:
        try:
            last = condition()
            if last:
                return last
        except WebDriverException as error:  # the page is being loaded
            last = error.msg
        time.sleep(0.02)
    raise AssertionError(f"waited in vain until {what}; last: {last!r}")


class Bench:
    """A chain of real processes below a root of its own, and the panel."""

    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="melvane.")
        self.environment = dict(os.environ, TLG_ROOT=self.root, TLG_SLOG_LEVEL="2")
        self.running = {}
        os.makedirs(self.root + "/zoapps/etc")
        with open(self.root + "/zoapps/etc/volume.conf", "w", encoding="ascii") as scheme:
            scheme.write("scheme=1;")
        self.start("ppsd")
        self.run("ppsctl", "write", "/pps/services/app-launcher", "started::1")
        self.start("mcusim", "--at", self.root + "/mcu")
        self.start("mculink", "--to", self.root + "/mcu", "--record", self.root + "/link.pcap")
        self.start("melvane")
        until("settings are published", lambda: "zoalc:n:1" in self.read("status"))
        ready = self.start("melvane-panel", "--port", "0", "--link", self.root + "/link.pcap")
        self.url = ready.split("ready at ")[1].strip()

    def start(self, name, *arguments):
        """Starts a program, waits until it is ready, and returns the line that says so."""
        path = f"{self.root}/{name}.out"
        with open(path, "w", encoding="utf-8") as output:
            self.running[name] = subprocess.Popen([f"{PROGRAMS}/{name}", *arguments], env=self.environment, stdout=output,
                                                  stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        if name == "melvane":
            return ""

        def said():
            with open(path, encoding="utf-8") as output:
                return [line for line in output if f"{name}: ready" in line]

        return until(f"{name} is ready", said)[0]

    def end(self, name, signal=15):
        self.running[name].send_signal(signal)
        status = self.running.pop(name).wait(PATIENCE)
        assert status in (0, -signal), f"{name} ended with {status}"

    def close(self):
        for name in reversed(list(self.running)):
            self.end(name)
        shutil.rmtree(self.root)

    def run(self, program, *arguments):
        return subprocess.run([f"{PROGRAMS}/{program}", *arguments], env=self.environment, check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def read(self, name):
        path = {"settings": "eq/settings", "gps_status": "navigation/gps_status", "dev_status": "system/dev_status",
                "poweron_status": "system/poweron_status"}.get(name, "eq/" + name)
        return subprocess.run([f"{PROGRAMS}/ppsctl", "read", "/pps/tolvyn/" + path], env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout


class PanelTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bench = Bench()
        options = Options()
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1280,720",
                         "--force-device-scale-factor=1", "--disable-dev-shm-usage"):
            options.add_argument(argument)
        options.add_experimental_option("prefs", {"download.default_directory": cls.bench.root + "/downloads"})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        options.binary_location = shutil.which("chromium")
        cls.page = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        cls.page.get(cls.bench.url)
        until("the page has the settings", lambda: cls.text("main-volume") == "12 of 40")

    @classmethod
    def tearDownClass(cls):
        errors = [entry["message"] for entry in cls.page.get_log("browser")
                  if entry["level"] == "SEVERE" and "ERR_" not in entry["message"] and "status of 40" not in entry["message"]]
        cls.page.quit()
        cls.bench.close()
        assert not errors, errors

    @classmethod
    def text(cls, element):
        return cls.page.find_element(By.ID, element).text

    @classmethod
    def js(cls, script, *arguments):
        return cls.page.execute_script(script, *arguments)

    def choose(self, element, value):
        """As a person would, who sets an input or select, or presses a button."""
        self.js("""const e = document.getElementById(arguments[0]);
            if (e.tagName === 'BUTTON') { e.click(); return; }
            e.value = arguments[1];
            e.dispatchEvent(new Event(e.type === 'range' ? 'input' : 'change'));""", element, value)

    def is_settled(self):
        return self.js("return !document.querySelector('.pending, [aria-busy=\"true\"]')")

    def shown(self, element):
        return self.js("""const e = document.getElementById(arguments[0]);
            return e.tagName === 'BUTTON' ? e.textContent : e.value""", element)

    def test_0_it_fits_screens_of_all_widths(self):
        """With TLG_SCREENSHOTS, also takes the pictures, of a bench in use."""
        if "TLG_SCREENSHOTS" in os.environ:
            for setting in ("eq 3 --freqs 0,5,7,11,12 --gains 14,17,9,12,19 --qs 1.5,2.0,0.75,1.25,1.0", "fade 18 24 9 12", "srcvol main 22",
                            "loud on", "subgain 140", "srs 60", "mode 1 2", "volume +1", "alc 90"):
                self.bench.run("eqctl", *setting.split())
            self.bench.run("mcusim", "order", "volume", "navi", "26")
            until("all is shown", lambda: self.shown("level-navi") == "26" and self.shown("alc") == "90")
            self.choose("srs", "80")
            until("it is accepted", self.is_settled)
            self.js("select(link.shown[link.shown.length - 2].number)")
        for name, width, scheme in (("light", 1280, "light"), ("dark", 1280, "dark"), ("narrow", 390, "light")):
            self.js("document.documentElement.dataset.theme = arguments[0]", scheme)
            height = 720
            for _ in range(2 if "TLG_SCREENSHOTS" in os.environ else 1):
                self.page.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
                self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width, "nothing is cut off")
                height = self.js("return document.documentElement.scrollHeight")
            if "TLG_SCREENSHOTS" in os.environ:
                time.sleep(0.5)  # for the list of packets
                self.page.save_screenshot(f"{os.environ['TLG_SCREENSHOTS']}/panel-{name}.png")
        self.page.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        if "TLG_SCREENSHOTS" in os.environ:
            self.bench.run("mcusim", "order", "restart")
            until("it is as at the start", lambda: self.text("main-volume") == "12 of 40" and self.shown("srs") == "0")

    # What is chosen; what is then published; what the element shows.
    CONTROLS = """
        volume-up - status zovolume:json:{"current":13, -
        volume-down - status zovolume:json:{"current":12, -
        system-mute - status "system_mute":"mute" muted
        system-mute - status "system_mute":"unmute" off
        source-mute - status "source_mute":"mute" muted
        source-mute - status "source_mute":"unmute" off
        level-main 20 status zovolume:json:{"current":20, 20
        level-navi 11 status "val":[20,11,15,20] 11
        level-call 12 status "val":[20,11,12,20] 12
        level-voice 13 status "val":[20,11,12,13] 13
        level-ext0 21 status "val":[21,11,12,13] 21
        level-ext3 24 status "val":[21,11,12,24] 24
        max-power 25 status "max_power":25 25
        fade-bl 3 status "ff":12,"fr":12,"bl":3,"br":12 3
        fade-fr 24 status "ff":12,"fr":24,"bl":3,"br":12 24
        subgain 200 status zosubwoofer_gain:n:200 200
        center 12 status zocenter_gain:n:12 12
        listen 2 status zolisten_pos:n:2 2
        srs 3 status zosrs:n:3 3
        alc 9 status zoalc:n:9 9
        loud - status zoloud::on on
        dbb - status zodbb::on on
        mix - status zoaudiomix::on on
        subwoofer-phase 180 status "status":"on","phase":180,"filter":2 180
        subwoofer-filter 4 status "status":"on","phase":180,"filter":4 4
        mode-channel 4 status "mode":0,"channel":4 4
        front-cutoff_freq 7 status "status":"off","cutoff_freq":7 7
        rear-status on status zorear_stereo_filter:json:{"status":"on" on
        eq-gain-2 17 settings zoeqtype_0:json:{"freqs":[1,4,7,10,13],"gain":[10,10,17,10,10] 17
        eq-freq-4 14 settings "freqs":[1,4,7,10,14] 14
        eq-q-0 1.5 settings "q":[1.5,1.0,1.0,1.0,1.0] 1.5
        source-1 9 status "gain":[6,9,5,12] 9
        source-add - status "src":["usb","radio","btaudio","navi","none"] -
        navi-percent 50 gps_status navivolume:n:50 50
        navi-percent 49 gps_status navivolume:n:47 47
    """

    def test_1_every_control_changes_the_mcu_and_shows_what_it_accepts(self):
        for row in self.CONTROLS.split("\n"):
            if not row.strip():
                continue
            element, value, where, published, shows = row.split()
            with self.subTest(element):
                self.choose(element, value)
                until(f"{published} is published", lambda: published in self.bench.read(where))
                until("the page has it accepted", self.is_settled)
                if shows != "-":
                    until("it is shown", lambda: self.shown(element) == shows)
        self.choose("eq-type-3", "")
        self.choose("eq-use", "")
        until("another curve is used", lambda: "zoeq_type::type_3" in self.bench.read("status"))
        self.choose("eq-type-0", "")
        pad = self.page.find_element(By.ID, "fade-pad")
        pad.send_keys(Keys.ARROW_RIGHT)
        until("the pad moved the sound", lambda: '"fr":24,"bl":3' not in self.bench.read("status"))
        until("the page has it accepted", self.is_settled)
        self.js("""const p = document.getElementById('eq-point-1'), s = document.getElementById('eq-plot'), b = s.getBoundingClientRect();
            p.dispatchEvent(new PointerEvent('pointerdown', {bubbles: true, buttons: 1}));
            s.dispatchEvent(new PointerEvent('pointermove', {bubbles: true, buttons: 1,
                clientX: b.left + (40 + 5 * 570 / 14) * b.width / 640, clientY: b.top + 40 * b.height / 200}));
            dispatchEvent(new PointerEvent('pointerup'));""")
        until("the dragged band is published", lambda: '"freqs":[1,5,7,10,14],"gain":[10,21,17,' in self.bench.read("settings"))
        for word in ("poweroff", "fakepowerOff"):
            self.js("[...document.querySelectorAll('#car button')].find(b => b.textContent === arguments[0]).click()", word)
            until("the power state shows", lambda: self.text("power") == word)
        until("popups are listed", lambda: "launch sync" in self.text("popups"))

    def test_2_what_is_not_accepted_goes_back_and_says_so(self):
        before = self.shown("srs")
        self.bench.run("mcusim", "order", "refuse")
        self.choose("srs", "77")
        self.assertFalse(self.is_settled(), "it looks different while it is not accepted")
        until("it goes back", lambda: self.shown("srs") == before and self.is_settled())
        self.assertEqual(self.text("message"), "SRS: not accepted within a second")
        until("the link says why", lambda: self.js("return link.packets.some(p => p.isRefused && p.answer.startsWith('refused (1)'))"))
        self.choose("srs", "78")
        until("the next one is accepted", lambda: "zosrs:n:78" in self.bench.read("status") and self.is_settled())

    def test_2_what_is_done_in_quick_succession_comes_about_as_it_was_meant(self):
        call = self.shown("level-call")
        gain = self.shown("eq-gain-1")
        start = int(self.text("main-volume").split()[0])
        self.bench.run("mcusim", "order", "delay", "150")
        cases = [("steps add up", ["volume-up", "volume-up", "volume-up"], "status", f'zovolume:json:{{"current":{start + 3},'),
                 ("and go on from a level that is under way", ["level-main=5", "volume-up"], "status", 'zovolume:json:{"current":6,'),
                 ("what is taken back stays", ["level-main=7", "level-call=30", f"level-call={call}"], "status", f',{call},'),
                 ("another curve may be looked at meanwhile", ["eq-gain-1=3", "eq-type-1"], "settings", '"gain":[10,3,')]
        for what, actions, where, published in cases:
            with self.subTest(what):
                for action in actions:
                    self.choose(*(action.split("=") if "=" in action else (action, "")))
                until("it is accepted", lambda: self.is_settled() and published in self.bench.read(where))
                self.assertNotIn("not accepted", self.text("message"))
        self.assertEqual(self.shown("level-call"), call)
        self.choose("eq-type-0", "")
        self.choose("eq-gain-1", gain)
        until("it is accepted", self.is_settled)
        self.bench.run("mcusim", "order", "clear")
        self.bench.run("mcusim", "order", "refuse")
        self.choose("eq-type-5", "")
        self.choose("eq-use", "")
        until("a curve that is not accepted says so", lambda: self.text("message") == "Curve in use: not accepted within a second")
        self.choose("eq-type-0", "")

    def test_3_markup_in_values_stays_text(self):
        markup = "<img src=x onerror=document.title=1><b id=markup>"
        self.bench.run("ppsctl", "write", "/pps/tolvyn/eq/status", "zoaudio::" + markup)
        until("it is shown as it is", lambda: self.text("processor") == markup)
        self.bench.run("ppsctl", "write", "/pps/services/app-launcher", 'req:json:{"app":"<b id=markup>","cmd":"</script>"}')
        until("and so is a request", lambda: "<b id=markup>: </script>" in self.text("popups"))
        for line in ("zovolume:json:{broken", "zovolume:json:3", "zosrc_vol:json:{}", "zosource_gain:json:[]", "zosubwoofer:json:null",
                     "zolisten_pos::" + "9" * 30000):
            self.bench.run("ppsctl", "write", "/pps/tolvyn/eq/status", line)
        self.bench.run("ppsctl", "write", "/pps/tolvyn/eq/settings", 'zoeqtype_0:json:{"freqs":[1],"gain":[1]}')
        self.bench.run("ppsctl", "write", "/pps/services/app-launcher", 'req:json:{"app":{"toString":1},"cmd":[]}')
        self.bench.run("eqctl", "alc", "77")
        until("and the others go on", lambda: self.shown("alc") == "77")
        self.bench.run("mcusim", "order", "restart")
        self.bench.run("mcusim", "order", "volume", "main", "12")
        until("what is no value harms nothing", lambda: self.text("main-volume") == "12 of 40")
        self.assertEqual(self.js("return [document.querySelectorAll('img, #markup').length, document.title]"), [0, "Melvane panel"])

    def test_4_only_the_own_page_is_answered(self):
        token = self.js("return token")
        port = self.bench.url.split(":")[-1].rstrip("/")
        line = json.dumps({"object": "/pps/tolvyn/eq/control", "line": "zoalc::1"})
        cases = [({}, None, 200), ({"Host": "panel.example:" + port}, None, 403), ({"Origin": "http://panel.example"}, None, 403),
                 ({"Sec-Fetch-Site": "cross-site"}, None, 403), ({}, line, 403), ({"X-Token": "x"}, line, 403),
                 ({"X-Token": token, "Origin": "null"}, line, 403), ({"X-Token": token}, line, 200),
                 ({"X-Token": token, "Host": "localhost:" + port}, line, 200)]
        bodies = ["", "[" * 5000, '{"object":"/pps/tolvyn/eq/status","line":"a::1"}', line.replace("::1", "::1\\nb::2"), line.replace("::1", "")]
        cases += [({"X-Token": token}, body, 400) for body in bodies]
        for headers, body, expected in cases:
            with self.subTest(headers=headers, body=body and body[:60]):
                request = urllib.request.Request(self.bench.url + ("write" if body is not None else ""), headers=headers,
                                                 data=body.encode() if body is not None else None)
                try:
                    with urllib.request.urlopen(request, timeout=PATIENCE) as response:
                        status = response.status
                except urllib.error.HTTPError as error:
                    status = error.code
                    error.close()
                self.assertEqual(status, expected)
        if os.geteuid() == 0:
            script = f"import urllib.request; urllib.request.urlopen('{self.bench.url}')"
            others = subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "/usr/bin/python3", "-c", script],
                                    stderr=subprocess.PIPE, text=True, check=False)
            self.assertIn("403", others.stderr)
        for order in ("restart 5 x", "restart 99999999999", "save /tmp/x", "load /etc/passwd", "restart /etc/passwd", "wait 9999999", ""):
            self.assertEqual(self.js("return fetch('/order', {method: 'POST', headers: {'X-Token': token}, body: arguments[0]}).then(r => r.status)", order), 400)

    def test_5_it_says_who_is_away_and_comes_back_by_itself(self):
        def is_there(peer):
            return lambda: self.page.find_element(By.ID, "peer-" + peer).get_attribute("class") == "chip there"

        for name, arguments, peer in (("ppsd", (), "server"), ("mcusim", ("--at", self.bench.root + "/mcu"), "mcu"), ("melvane", (), "service")):
            self.bench.end(name, 9)
            until(f"{peer} is away", lambda: not is_there(peer)())
            self.assertIn("away", self.text("peer-" + peer))
            self.bench.start(name, *arguments)
            until(f"{peer} is back", is_there(peer))
            until("all are there", lambda: all(is_there(each)() for each in ("server", "mcu", "service")))
        until("settings are the new MCU's", lambda: self.text("main-volume") == "12 of 40" and self.shown("srs") == "0")
        self.choose("srs", "5")
        until("commands go on", lambda: "zosrs:n:5" in self.bench.read("status") and self.is_settled())
        port = self.bench.url.split(":")[-1].rstrip("/")
        self.bench.end("melvane-panel")
        until("the page says that the panel is away", lambda: "does not answer" in self.text("message"))
        self.bench.start("melvane-panel", "--port", port, "--link", self.bench.root + "/link.pcap")
        until("the page loads the new panel's", lambda: self.text("main-volume") == "12 of 40" and is_there("server")())
        self.choose("srs", "6")
        until("with its token", lambda: "zosrs:n:6" in self.bench.read("status") and self.is_settled())

    def test_6_the_link_is_filtered_looked_into_and_saved(self):
        box = self.page.find_element(By.ID, "filter")
        self.choose("alc", "7")
        until("it is accepted", lambda: self.is_settled() and "zoalc:n:7" in self.bench.read("status"))
        box.send_keys("ALC to -query -alc=77 alc=7")
        until("one packet is left", lambda: self.js("return link.shown.length") == 1)
        table = self.page.find_element(By.ID, "packets")
        table.send_keys(Keys.ARROW_DOWN)
        until("its bytes are shown", lambda: re.search(r"^ +\d+  07 +alc=7$", self.text("detail"), re.M))
        self.assertRegex(self.text("detail"), r"24  \d\d 00 00 00 +PacketNo \d+\n")
        until("its answer is beside it", lambda: "accepted after" in self.text("packets"))
        self.choose("save", "")
        saved = until("it is saved", lambda: glob.glob(self.bench.root + "/downloads/*.pcap"))[0]
        self.assertRegex(self.bench.run("mculink", "show", saved), r"^\S+ to +#\d+ control alc alc=7\n$")
        box.send_keys(Keys.CONTROL, "a")
        box.send_keys(Keys.DELETE)
        until("all are shown", lambda: len(self.page.find_elements(By.CLASS_NAME, "packet")) > 5)
        self.choose("pause", "")
        top = self.js("return document.getElementById('packets').scrollTop")
        count = self.text("packet-count")
        self.choose("alc", "8")
        until("the list has grown", lambda: self.text("packet-count") != count and self.is_settled())
        self.assertEqual(self.js("return document.getElementById('packets').scrollTop"), top)
        row = self.page.find_elements(By.CLASS_NAME, "packet")[3]
        row.click()
        until("the row that was clicked is chosen", lambda: row.get_attribute("aria-selected") == "true")
        self.choose("pause", "")
        box.send_keys("refused")
        self.bench.run("mcusim", "order", "refuse")
        self.choose("alc", "9")
        until("a packet is shown as soon as its answer has come", lambda: self.js("return link.shown.length") >= 1 and self.is_settled())
        box.send_keys(Keys.CONTROL, "a")
        box.send_keys(Keys.DELETE)

    def test_7_it_is_usable_by_keyboard_and_readable(self):
        nodes = self.page.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        roles = {"button", "slider", "combobox", "switch", "searchbox", "spinbutton", "textbox", "application", "table", "img"}
        unnamed = [node["role"]["value"] for node in nodes
                   if node.get("role", {}).get("value") in roles and not node.get("name", {}).get("value")]
        self.assertEqual(unnamed, [])
        for _ in range(200):
            self.page.switch_to.active_element.send_keys(Keys.TAB)
            if self.js("return document.activeElement.id") == "center":
                break
        self.assertEqual(self.js("return document.activeElement.id"), "center")
        self.page.switch_to.active_element.send_keys(Keys.ARROW_LEFT)
        until("a key changed it", lambda: "zocenter_gain:n:5" in self.bench.read("status") and self.is_settled())
        contrast = """
            const canvas = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
            const rgb = color => { canvas.clearRect(0, 0, 1, 1); canvas.fillStyle = color; canvas.fillRect(0, 0, 1, 1); return [...canvas.getImageData(0, 0, 1, 1).data]; };
            const light = ([r, g, b]) => [r, g, b].map(c => c / 255).map(c => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
                .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
            const bad = new Set();
            for (const element of document.querySelectorAll('body *')) {
                if (![...element.childNodes].some(n => n.nodeType === 3 && n.textContent.trim()) || !element.getClientRects().length || element.closest(':disabled, .unknown, script, svg')) continue;
                let behind = element;
                while (rgb(getComputedStyle(behind).backgroundColor)[3] === 0) behind = behind.parentElement;
                const [a, b] = [light(rgb(getComputedStyle(element).color)), light(rgb(getComputedStyle(behind).backgroundColor))].sort((x, y) => y - x);
                if ((a + 0.05) / (b + 0.05) < 4.5) bad.add(element.id || element.className || element.tagName);
            }
            return [...bad];"""
        for scheme in ("light", "dark"):
            self.js("document.documentElement.dataset.theme = arguments[0]", scheme)
            self.assertEqual(self.js(contrast), [], scheme)

    def test_8_two_thousand_packets_a_second_and_none_is_lost(self):
        rate, seconds = 2000, int(os.environ.get("TLG_RATE_SECONDS", "10"))
        if "TLG_SCREENSHOTS" in os.environ:
            begin = self.times()
            time.sleep(10)
            panel, browser, passed = (b - a for a, b in zip(begin, self.times()))
            print(f"\nat rest, processor: panel {100 * panel / passed:.1f} %, browser {100 * browser / passed:.1f} %")
        before = self.js("frames = []; last = performance.now(); isOver = false;"
                         "(function next() { const now = performance.now(); frames.push(now - last); last = now; isOver || requestAnimationFrame(next); })();"
                         "return link.received")
        self.bench.end("mcusim")
        begin = self.times()
        self.bench.start("mcusim", "--at", self.bench.root + "/mcu", "--seed", "1", "--rate", str(rate), "--count", str(rate * seconds))
        recorded = until("all packets are recorded", lambda: self.recorded_if_quiet(before + rate * seconds), seconds)
        until("the page has them all", lambda: self.js("return link.received") == recorded)
        end = self.times()
        lost, numbers = self.js("return [link.lost, link.packets.map(p => p.number)]")
        self.assertEqual(lost, 0)
        self.assertEqual(numbers, list(range(recorded - len(numbers), recorded)))
        frames = sorted(self.js("isOver = true; return frames"))
        panel, browser, passed = (b - a for a, b in zip(begin, end))
        print(f"\n{recorded - before} packets in {passed:.1f} s, none lost; frames: median {frames[len(frames) // 2]:.0f} ms, "
              f"99th percentile {frames[len(frames) * 99 // 100]:.0f} ms; processor: panel {100 * panel / passed:.0f} %, browser {100 * browser / passed:.0f} %")

    size = 0

    def recorded_if_quiet(self, least):
        """The number of packets that are recorded, where there are so many and no more come."""
        path = self.bench.root + "/link.pcap"
        size, self.size = self.size, os.path.getsize(path)
        count = self.bench.run("mculink", "show", path).count("\n") if size == self.size else 0
        return count if count >= least else 0

    def times(self):
        """Processor time of the panel and of the browser in seconds, and the clock."""
        def used(process):
            try:
                with open(f"/proc/{process}/stat", encoding="ascii") as stat:
                    fields = stat.read().rpartition(")")[2].split()
                return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK"), int(fields[1])
            except OSError:
                return 0, 0

        parents = {int(name): used(name) for name in os.listdir("/proc") if name.isdigit()}
        family = {self.page.service.process.pid}
        for _ in range(4):
            family |= {process for process, (_, parent) in parents.items() if parent in family}
        return (parents[self.bench.running["melvane-panel"].pid][0], sum(parents[process][0] for process in family if process in parents),
                time.monotonic())

    def test_9_a_hidden_page_asks_for_nothing_and_catches_up(self):
        first = self.page.current_window_handle
        self.page.switch_to.new_window("tab")
        second = self.page.current_window_handle
        self.bench.run("eqctl", "alc", "33")
        self.page.switch_to.window(first)
        until("it catches up", lambda: self.shown("alc") == "33")
        self.js("Object.defineProperty(document, 'hidden', {value: true, configurable: true}); document.dispatchEvent(new Event('visibilitychange'))")
        self.assertEqual(self.js("return updates.readyState"), 2)
        self.bench.run("eqctl", "alc", "34")
        self.js("delete document.hidden; document.dispatchEvent(new Event('visibilitychange'))")
        until("it catches up", lambda: self.shown("alc") == "34")
        self.page.switch_to.window(second)
        self.page.close()
        self.page.switch_to.window(first)


if __name__ == "__main__":
    PROGRAMS = os.path.abspath(sys.argv.pop(1))
    if webdriver is None or not shutil.which("chromium") or not shutil.which("chromedriver"):
        print("skipped: no browser")
        sys.exit(77)
    unittest.main(verbosity=2)
