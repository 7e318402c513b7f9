"""Browsers with a page of ours, which tells each change of its text field to a server of ours."""
import http.server
import threading

from desk import DESKTOP, run, until
from editors import Editor

PAGE = b"""<!doctype html><meta charset=utf-8><title>Field</title><textarea autofocus style="width:90%;height:90%"></textarea>
<script>const f = document.querySelector("textarea");
f.addEventListener("input", () => fetch("/text", {method: "POST", body: f.value}));
f.addEventListener("focus", () => fetch("/ready", {method: "POST"})); f.blur(); f.focus();</script>"""


class Page(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        self.wfile.write(PAGE if self.path == "/" else b"")

    def do_POST(self):
        text = self.rfile.read(int(self.headers.get("Content-Length", 0))).decode()
        self.send_response(204)
        self.end_headers()
        if self.path == "/text":
            self.server.text = text
        else:
            self.server.ready = True

    def log_message(self, *arguments):
        pass


class Browser(Editor):
    def __init__(self, *command):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Page)
        self.server.text, self.server.ready = "", False
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        super().__init__(*command, f"http://127.0.0.1:{self.server.server_port}/")
        until("the field of the page", lambda: self.server.ready)

    def _find_window(self):
        # By its title: the process with the window may be a child of the one that was started.
        windows = run("xdotool", "search", "--onlyvisible", "--name", "Field")
        return windows.split()[-1] if windows else None

    def text(self):
        return self.server.text

    def end(self):
        super().end()
        self.server.shutdown()
        self.server.server_close()


class Chromium(Browser):
    def __init__(self, *options):
        super().__init__("chromium", *options, "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update", "--disable-sync",
                         f"--user-data-dir={DESKTOP}/chromium", "--password-store=basic")


class Firefox(Browser):
    def __init__(self):
        profile = DESKTOP / "firefox"
        profile.mkdir(exist_ok=True)
        (profile / "user.js").write_text('user_pref("browser.shell.checkDefaultBrowser", false);\n'
                                         'user_pref("browser.aboutwelcome.enabled", false);\n'
                                         'user_pref("datareporting.policy.dataSubmissionEnabled", false);\n'
                                         'user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);\n')
        super().__init__("firefox-esr", "--no-remote", "--profile", str(profile))
