#!/usr/bin/env python3
"""The DocC site renders: headless Chromium shows the landing page and a symbol page with text.

usage: docc_render_test.py SITE

SITE is the static site `docc convert --transform-for-static-hosting` wrote. It is served over
HTTP on a free loopback port, and headless Chromium (installed from Debian when missing) loads
each page, runs its scripts and dumps the document. A DocC page is an empty shell filled in by
script from the page's JSON, so each page must show text that exists only in that JSON. Then the
same check runs against a copy of the site without the pages' JSON, where Chromium gets the
shell alone, and must fail there.
"""

import functools
import html.parser
import http.server
import os
import shutil
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

# Each page (path and query), and visible texts it must show: its title and what its doc comment
# or article says; the symbol page also in Objective-C, from the headers' symbol graph.
PAGES = [
    (
        "documentation/korvanesdk",
        "",
        [
            "KorvaneSDK",
            "Show a rewards offerwall, its missions, quizzes and banners",
            "Getting Started",
            "Presenting the Offerwall",
        ],
    ),
    (
        "documentation/korvanesdk/korvanesdk",
        "",
        ["KorvaneSdk", "single entry point", "Asks the telemetry pipeline to send one batch now."],
    ),
    (
        "documentation/korvanesdk/korvanesdk",
        "?language=objc",
        ["@interface KorvaneSdk : NSObject", "-initializeWithApplication:sdkConfig:"],
    ),
]


class VisibleText(html.parser.HTMLParser):
    """The text a reader sees: everything outside script, style, noscript and template."""

    HIDDEN = {"script", "style", "noscript", "template"}

    def __init__(self):
        super().__init__()
        self.depth = 0
        self.parts = []
        self.glue = False

    def handle_starttag(self, tag, attrs):
        if tag in self.HIDDEN:
            self.depth += 1
        # DocC breaks long names with <wbr>: the text on either side is one word.
        if tag == "wbr":
            self.glue = True

    def handle_endtag(self, tag):
        if tag in self.HIDDEN and self.depth:
            self.depth -= 1

    def handle_data(self, data):
        if self.depth or not data.strip():
            return
        if self.glue and self.parts:
            self.parts[-1] += data.strip()
        else:
            self.parts.append(data.strip())
        self.glue = False


def visible_text(document):
    parser = VisibleText()
    parser.feed(document)
    return " ".join(" ".join(parser.parts).split())


def chromium():
    """The Chromium binary, installed from Debian when it is missing."""
    for name in ("chromium", "chromium-browser"):
        if shutil.which(name):
            return shutil.which(name)
    sudo = [] if os.geteuid() == 0 else ["sudo"]
    env = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
    install = sudo + ["apt-get", "install", "-y", "-qq", "--no-install-recommends", "chromium"]
    if subprocess.run(install, env=env, stdout=subprocess.DEVNULL).returncode != 0:
        subprocess.run(sudo + ["apt-get", "update", "-qq"], env=env, check=True)
        subprocess.run(install, env=env, stdout=subprocess.DEVNULL, check=True)
    found = shutil.which("chromium")
    if not found:
        sys.exit("chromium is not on PATH after installing it")
    return found


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *args):
        pass


def serve(site):
    """An HTTP server for the site on a free loopback port, running on its own thread."""
    handler = functools.partial(QuietHandler, directory=str(site))
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def render(browser, url, profile):
    done = subprocess.run(
        [
            browser,
            "--headless",
            "--no-sandbox",
            "--disable-gpu",
            "--disable-dev-shm-usage",
            "--no-first-run",
            f"--user-data-dir={profile}",
            # Virtual time runs ahead while the page is idle, so this waits for the scripts and
            # the JSON they fetch without waiting that long in real time.
            "--virtual-time-budget=20000",
            "--dump-dom",
            url,
        ],
        capture_output=True,
        text=True,
        timeout=120,
    )
    if done.returncode != 0:
        sys.exit(f"chromium failed on {url}:\n{done.stderr[-2000:]}")
    return visible_text(done.stdout)


def missing_texts(browser, site, scratch):
    """{page: texts it does not show} for the site; empty when every page renders."""
    server = serve(site)
    try:
        base = f"http://127.0.0.1:{server.server_address[1]}"
        missing = {}
        for page, query, texts in PAGES:
            text = render(browser, f"{base}/{page}/{query}", Path(scratch, "profile"))
            absent = [expected for expected in texts if expected not in text]
            if absent:
                missing[page + query] = (absent, text[:300])
        return missing
    finally:
        server.shutdown()
        server.server_close()


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    site = Path(sys.argv[1])
    for page, _, _ in PAGES:
        if not (site / page / "index.html").is_file():
            sys.exit(f"{site} has no {page}/index.html")
    browser = chromium()
    with tempfile.TemporaryDirectory() as scratch:
        missing = missing_texts(browser, site, scratch)
        for page, (absent, shown) in missing.items():
            print(f"{page}: does not show {absent}; it shows: {shown!r}", file=sys.stderr)
        if missing:
            sys.exit("DocC render test: the site does not render")

        # The shell without its JSON: the scripts load and find nothing to show.
        blank = Path(scratch, "blank")
        shutil.copytree(site, blank)
        shutil.rmtree(blank / "data")
        if not missing_texts(browser, blank, scratch):
            sys.exit("DocC render test: the check passes a site whose pages have no JSON")
    print(f"DocC render test: {len(PAGES)} pages render their text; without their JSON they fail")


if __name__ == "__main__":
    main()
