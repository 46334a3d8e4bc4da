#!/usr/bin/python3
"""A scan rendered as Deep Zoom opens in OpenSeadragon and shows the rendered picture at three zoom levels.

    deep_zoom.py PROGRAMS OPENSEADRAGON_JS SCRATCH      (exit status 77: something that it needs is missing)
"""
import functools
import http.server
import pathlib
import shutil
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
BROWSER = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync",
           "--hide-scrollbars", "--force-device-scale-factor=1", "--window-size=820,720"]


def skip(what):
    print(f"skipped: no {what}")
    sys.exit(77)


def make(programs, folder):
    def run(*command):
        subprocess.run([str(part) for part in command], check=True, cwd=folder)

    run(programs / "brantel-scan", "--quiet", "--generate", "2600x1900", "--overlap", "25", "-o", "scan")
    run(programs / "brantel-stitch", "-q", "scan", "-o", "live.png", "--report", "scan.jsonl")
    run(programs / "brantel-render", "-q", "scan.jsonl", "-o", "scan.dzi", "--quality", "100")
    run(programs / "brantel-render", "-q", "scan.jsonl", "-o", "whole.png")


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


def serve(folder):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Quiet, directory=str(folder)))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http://127.0.0.1:{server.server_address[1]}/"


def until(driver, script, seconds=60):
    end = time.monotonic() + seconds
    while not driver.execute_script(f"return {script}"):
        if time.monotonic() > end:
            raise TimeoutError(script)
        time.sleep(0.05)


def check(driver, x, y, zoom, most):
    driver.execute_script(f"show({x}, {y}, {zoom})")
    time.sleep(0.2)
    until(driver, "complete()")
    found, moved = (driver.execute_async_script(
        "const done = arguments[1];"
        "difference('whole.png', arguments[0]).then(done, error => done({error: String(error)}))", by)
        for by in (0, 6))
    print(f"zoom {zoom}: {found}, six pixels off {moved}")
    assert found["content"] > 0.3, "hardly anything of the picture is in view"
    assert found["mean"] < most and 2 * found["mean"] < moved["mean"], "the viewer shows another picture"


def main(programs, script, scratch):
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
    except ImportError:
        skip("python3-selenium")
    if shutil.which("chromium") is None or shutil.which("chromedriver") is None:
        skip("chromium with its driver")
    if not script.exists():
        skip("OpenSeadragon; npm ci in tests/browser fetches it")
    shutil.rmtree(scratch, ignore_errors=True)
    scratch.mkdir(parents=True)
    make(programs, scratch)
    shutil.copy(script, scratch)
    shutil.copy(HERE / "deep_zoom.html", scratch)
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for argument in BROWSER + [f"--user-data-dir={scratch / 'profile'}"]:
        options.add_argument(argument)
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    try:
        driver.get(serve(scratch) + "deep_zoom.html")
        until(driver, "opened()")
        # Far out every program reduces pictures in its own way; at 1 : 1 only JPEG lies in between.
        check(driver, 1300, 950, 0.25, 6)
        check(driver, 900, 700, 0.5, 7)
        check(driver, 1200, 1000, 1, 1.5)
        driver.save_screenshot(str(scratch / "screen.png"))
        severe = [entry for entry in driver.get_log("browser")
                  if entry["level"] == "SEVERE" and "favicon" not in entry["message"]]
        assert not severe, severe
    finally:
        driver.quit()
    print("OpenSeadragon shows the rendered picture")


main(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:4]))
