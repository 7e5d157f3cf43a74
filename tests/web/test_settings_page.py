#!/usr/bin/python3
"""Browser test of `sensorctl serve`: the settings page in headless chromium against the
simulated module, in a copy of the sample unit's files.

/usr/bin/python3 tests/web/test_settings_page.py --sensorctl BIN --rootfs examples/rootfs --out DIR
Exit 0 passed, 1 failed, 77 skipped (no browser; KV_REQUIRE_BROWSER=1 makes that a failure)."""
import argparse, json, os, re, shutil, signal, subprocess, sys, tempfile, threading
import urllib.error, urllib.request
import xml.etree.ElementTree as ET

CONFIG = 'hd1/moduleConfig/sensorConfig'
WAIT = 30  # seconds any one wait of the page may take


def skip(why):
    required = os.environ.get('KV_REQUIRE_BROWSER') == '1'
    print(('FAIL: ' if required else 'SKIP: ') + why)
    sys.exit(1 if required else 77)


for path in ('/usr/bin/chromium', '/usr/bin/chromedriver'):
    if not os.path.exists(path):
        skip(path + ' is missing')
try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.common.exceptions import TimeoutException
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError as e:
    skip('the selenium module is missing (%s)' % e)

NO_PROXY = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def http(base, method, path, body=None, token=None):
    """One API request; returns (status, JSON answer)."""
    headers = {} if body is None else {'Content-Type': 'application/json'}
    headers.update({} if token is None else {'X-Session-Token': token})
    req = urllib.request.Request(base + path, None if body is None else json.dumps(body).encode(), headers, method=method)
    try:
        with NO_PROXY.open(req, timeout=WAIT) as res:
            return res.status, json.loads(res.read())
    except urllib.error.HTTPError as e:
        return e.code, json.loads(e.read() or b'null')


def start_server(sensorctl, root, logdir):
    """Starts the server on a free port; returns (process, base URL). The environment passes through."""
    with open(os.path.join(logdir, 'server.err'), 'w') as err:
        proc = subprocess.Popen([sensorctl, '--root', root, '--simulate', '--time-scale', '0.05', '--verbose',
                                 'serve', '--listen', '127.0.0.1:0'], stdout=subprocess.PIPE, stderr=err, text=True)
    found, url = threading.Event(), []

    def drain():  # reads every line, so that the verbose output never fills the pipe
        for line in proc.stdout:
            m = re.search(r'serving (http://\S+?)/?$', line.strip())
            if m and not url:
                url.append(m.group(1))
                found.set()
        found.set()

    threading.Thread(target=drain, daemon=True).start()
    if not found.wait(60) or not url:
        stop_server(proc)
        raise AssertionError('the server printed no "serving http://..." line within 60 s (exit status %s)'
                             % proc.returncode)
    return proc, url[0]


def stop_server(proc):
    if proc.poll() is None:
        proc.send_signal(signal.SIGTERM)
        try:
            proc.wait(10)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait()


def start_browser(tmp):
    opts = webdriver.ChromeOptions()
    opts.binary_location = '/usr/bin/chromium'
    for arg in ('--headless=new', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
                '--disable-background-networking', '--disable-component-update', '--disable-sync',
                '--window-size=1280,900', '--user-data-dir=' + os.path.join(tmp, 'chromium')):
        opts.add_argument(arg)
    return webdriver.Chrome(service=Service(executable_path='/usr/bin/chromedriver'), options=opts)


def texts_of(rootfs, folder):
    root = ET.parse(os.path.join(rootfs, CONFIG, 'language', folder, 'FBS8300Lang.xml')).getroot()
    return {t.get('key'): t.get('value') for t in root.iter('text')}


def tab_label_keys(rootfs):
    """Tab key -> label key, from the style and its variations (which hold several top-level blocks)."""
    keys = {}
    for name in ('style/FBS8300Style.xml', 'styleDiversity/FBS8300StyleDiversity.xml'):
        with open(os.path.join(rootfs, CONFIG, name), encoding='utf-8') as f:
            keys.update({int(k): v for k, v in re.findall(r'<tab key="(\d+)"[^>]*\blabel="([^"]+)"', f.read())})
    return keys


def wait_for(driver, condition, describe):
    """Waits until condition(driver) holds; else fails with describe(), called then."""
    try:
        WebDriverWait(driver, WAIT).until(condition)
    except TimeoutException:
        raise AssertionError(describe()) from None


def wait_idle(driver):
    """Waits until the page has loaded and has no request open."""
    wait_for(driver, lambda d: d.execute_script(
        'return document.body.dataset.ready === "true" && window.settingsState.busy === 0'),
        lambda: 'the page did not load, or kept a request open')


def text_of(driver, dom_id):
    """The element's text, read in one script (the page redraws its elements on a language change)."""
    text = driver.execute_script('const e = document.getElementById(arguments[0]); return e && e.textContent', dom_id)
    assert text is not None, 'the page has no element #' + dom_id
    return text.strip()


def check_tabs(driver, base, rootfs):
    status, page = http(base, 'GET', '/api/page?lang=1')
    assert status == 200 and page['ok'], 'GET /api/page?lang=1 failed: %s %s' % (status, page)
    keys, label_keys = [t['key'] for t in page['tabs']], tab_label_keys(rootfs)
    english, chinese = texts_of(rootfs, 'english'), texts_of(rootfs, 'chinese')
    driver.get(base + '/')
    wait_idle(driver)
    shown = [e.get_attribute('id') for e in driver.find_elements(By.CSS_SELECTOR, '#tabs [role=tab]')]
    assert shown == ['tab-%d' % k for k in keys], 'tabs %s, the merged style has %s' % (shown, keys)
    for lang, texts in ((2, chinese), (1, english)):
        Select(driver.find_element(By.ID, 'language')).select_by_value(str(lang))
        want = {k: texts.get(label_keys[k], english.get(label_keys[k])) for k in keys}
        got = lambda: {k: text_of(driver, 'tab-%d' % k) for k in keys}
        wait_for(driver, lambda d: got() == want,
                 lambda: 'language %d: tab labels %s, the language file says %s' % (lang, got(), want))
        wait_idle(driver)
        open_tab = driver.find_element(By.ID, 'tab-%d' % page['openTab']).get_attribute('aria-selected')
        assert open_tab == 'true', 'language %d: tab %d is no longer open' % (lang, page['openTab'])
    print('PASS: tab labels in English and Chinese')


def move_slider(driver, ctl_id):
    """Moves a slider of the open tab to its far end with the keyboard (the browser fires input, then change)."""
    slider = driver.find_element(By.ID, 'ctl-%d' % ctl_id)
    old, low, high = (int(x) for x in (text_of(driver, 'val-%d' % ctl_id), slider.get_attribute('min'),
                                       slider.get_attribute('max')))
    up = high - old > old - low
    slider.send_keys(Keys.END if up else Keys.HOME)
    return old, high if up else low


def check_slider(driver, base):
    register = lambda: http(base, 'GET', '/api/simulator/register?key=04A1')[1]['data']
    driver.find_element(By.ID, 'tab-10').click()
    wait_idle(driver)
    before = register()
    old, new = move_slider(driver, 1)
    wait_for(driver, lambda d: register() != before,
             lambda: 'register 04A1 stayed %s after saturation %d -> %d' % (before, old, new))
    wait_idle(driver)
    assert text_of(driver, 'val-1') == str(new), 'val-1 shows %s, expected %d' % (text_of(driver, 'val-1'), new)
    status, answer = http(base, 'GET', '/api/values?ids=1')
    assert status == 200 and answer['values'] == {'1': new}, 'GET /api/values?ids=1: %s %s' % (status, answer)
    print('PASS: saturation %d -> %d, register 04A1 %s -> %s' % (old, new, before, register()))


def check_refusal(driver, base):
    # No periodic re-read may take the refusals meant for the change.
    token = driver.execute_script('clearInterval(settingsState.timer); return settingsState.token')
    status, answer = http(base, 'POST', '/api/simulator/refuse', {'frames': 3}, token)
    assert status == 200 and answer['ok'], 'POST /api/simulator/refuse: %s %s' % (status, answer)
    old, new = move_slider(driver, 2)
    wait_for(driver, lambda d: text_of(d, 'err-2') != '',
             lambda: 'err-2 stayed empty after contrast %d -> %d with refusals set up; the page shows "%s", '
                     'GET /api/values?ids=2: %s' % (old, new, text_of(driver, 'message'),
                                                    http(base, 'GET', '/api/values?ids=2')[1]))
    wait_idle(driver)
    assert text_of(driver, 'val-2') == str(old), 'val-2 shows %s, the old value is %d' % (text_of(driver, 'val-2'), old)
    assert text_of(driver, 'message'), 'the message area is empty after a refusal'
    print('PASS: refused contrast %d -> %d shows "%s"' % (old, new, text_of(driver, 'err-2')))


def check_token(base):
    for token in (None, '0' * 32):
        status, answer = http(base, 'POST', '/api/values', {'values': {'1': 50}}, token)
        assert status == 403 and answer and answer.get('ok') is False and answer.get('error'), \
            'POST /api/values with token %r: %s %s, expected 403 and a JSON error' % (token, status, answer)
    print('PASS: no token and a wrong token are refused with 403')


def screenshot(driver, base, out):
    driver.get(base + '/?lang=1')
    wait_idle(driver)
    driver.find_element(By.ID, 'tab-10').click()
    wait_idle(driver)
    path = os.path.join(out, 'web-settings.png')
    assert driver.save_screenshot(path), 'no screenshot written to ' + path
    print('PASS: screenshot ' + path)


def main():
    ap = argparse.ArgumentParser()
    for name in ('--sensorctl', '--rootfs', '--out'):
        ap.add_argument(name, required=True)
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix='kvweb-') as tmp:
        shutil.copytree(args.rootfs, os.path.join(tmp, 'root'), symlinks=True)
        proc = driver = None
        try:
            proc, base = start_server(args.sensorctl, os.path.join(tmp, 'root'), tmp)
            driver = start_browser(tmp)
            check_tabs(driver, base, args.rootfs)
            check_slider(driver, base)
            check_refusal(driver, base)
            check_token(base)
            screenshot(driver, base, args.out)
        except Exception as e:  # a failed check, a wait that timed out or a browser error
            print('FAIL: %s: %s' % (type(e).__name__, str(e).strip()))
            for entry in driver.get_log('browser') if driver else []:
                print('browser: ' + entry['message'])
            with open(os.path.join(tmp, 'server.err'), errors='replace') as f:
                err = f.read()  # a sanitizer's report from its start, else the end
                at = err.find('ERROR: ')
                print('server stderr:\n' + (err[at:at + 3000] if at >= 0 else err[-2000:]))
            return 1
        finally:
            if driver:
                driver.quit()
            if proc:
                stop_server(proc)
    return 0


if __name__ == '__main__':
    sys.exit(main())
