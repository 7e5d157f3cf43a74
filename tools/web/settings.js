// Settings page of the camera module. Everything shown comes from the server's page model
// (GET /api/page): tabs, controls, labels, texts and the session token. The page reads the
// values, sends each change as it is made and shows what the module kept.
'use strict';

const state = {
  page: null,         // the last page model
  token: '',
  language: 1,
  openTab: null,      // key of the open tab; kept across language changes
  values: {},         // id (string) -> last value read
  controls: {},       // id (string) -> control of the page model
  busy: 0,            // requests in flight; the periodic refresh waits for none
  dragging: {},       // slider ids being moved (not overwritten by a refresh)
  timer: null,
};
window.settingsState = state;  // for the browser test and the developer's console

const $ = (id) => document.getElementById(id);

function text(key, fallback) {
  const t = state.page && state.page.texts ? state.page.texts[key] : undefined;
  return t === undefined || t === '' ? fallback : t;
}

function el(tag, attrs, children) {
  const e = document.createElement(tag);
  for (const [k, v] of Object.entries(attrs || {})) {
    if (k === 'class') e.className = v;
    else if (k === 'text') e.textContent = v;
    else e.setAttribute(k, v);
  }
  for (const c of children || []) e.appendChild(c);
  return e;
}

function say(msg, kind) {
  const m = $('message');
  m.textContent = msg || '';
  m.className = 'message' + (msg && kind ? ' ' + kind : '');
}

// One JSON request; answers {status, body}. A body that is not JSON becomes an error body.
async function api(method, path, body) {
  const init = {method, headers: {}};
  if (body !== undefined) {
    init.headers['Content-Type'] = 'application/json';
    init.headers['X-Session-Token'] = state.token;
    init.body = JSON.stringify(body);
  }
  state.busy++;
  try {
    const res = await fetch(path, init);
    let json;
    try {
      json = await res.json();
    } catch (e) {
      json = {ok: false, error: 'HTTP ' + res.status + ': the answer is not JSON'};
    }
    if (!res.ok && json.ok !== false) json.ok = false;
    return {status: res.status, body: json};
  } catch (e) {
    return {status: 0, body: {ok: false, error: 'no answer from the camera (' + e.message + ')'}};
  } finally {
    state.busy--;
  }
}

// ---- drawing -------------------------------------------------------------------------------

async function loadPage(lang) {
  const r = await api('GET', '/api/page?lang=' + encodeURIComponent(lang));
  if (!r.body.ok) {
    say(r.body.error || 'the page could not be loaded', 'error');
    return false;
  }
  const page = r.body;
  state.page = page;
  state.token = page.token;
  state.language = page.language || lang;
  const keys = page.tabs.map((t) => t.key);
  if (!keys.includes(state.openTab)) state.openTab = keys.includes(page.openTab) ? page.openTab : keys[0];
  draw();
  return true;
}

function draw() {
  const page = state.page;
  document.title = text('page.title', 'Camera module');
  $('title').textContent = document.title;
  $('refresh').textContent = text('button.refresh', 'Refresh');
  $('save').textContent = text('button.save', 'Save');
  $('default').textContent = text('button.default', 'Factory settings');

  const sel = $('language');
  sel.replaceChildren(...(page.languages || []).map((l) => el('option', {value: l.id, text: l.name})));
  sel.value = String(state.language);
  sel.hidden = (page.languages || []).length < 2;

  state.controls = {};
  const missing = new Set(page.missingLabels || []);
  const tabs = $('tabs');
  const panels = $('panels');
  tabs.replaceChildren();
  panels.replaceChildren();
  for (const tab of page.tabs) {
    const button = el('button', {type: 'button', role: 'tab', id: 'tab-' + tab.key,
                                 'aria-controls': 'panel-' + tab.key, class: 'tab', text: tab.label});
    button.addEventListener('click', () => openTab(tab.key));
    tabs.appendChild(button);
    const grid = el('div', {class: 'grid'});
    for (const c of tab.controls) {
      state.controls[String(c.id)] = c;
      grid.appendChild(drawControl(c, missing.has(c.labelKey)));
    }
    panels.appendChild(el('section', {id: 'panel-' + tab.key, role: 'tabpanel',
                                      'aria-labelledby': 'tab-' + tab.key, class: 'panel'}, [grid]));
  }
  showTab();
  showValues(state.values);

  $('frames').hidden = !page.frames;
  const omitted = page.omitted || [];
  const note = $('omitted');
  note.hidden = omitted.length === 0;
  note.textContent = omitted.length === 0 ? '' : 'Not shown: ' +
      omitted.map((o) => 'id ' + o.id + ' (tab ' + o.tab + '): ' + o.why).join('; ');
}

function drawControl(c, missingLabel) {
  const id = String(c.id);
  const ctlId = 'ctl-' + id;
  const field = el('div', {class: 'field ' + c.kind, id: 'field-' + id});
  const label = el('label', {for: ctlId, text: c.label});
  if (missingLabel) {
    label.classList.add('missing');
    label.title = 'no text for this label';
  }
  let input;
  if (c.kind === 'slider') {
    input = el('input', {type: 'range', id: ctlId, min: c.min, max: c.max, step: c.step || 1});
    const shown = el('span', {class: 'value'}, [el('output', {id: 'val-' + id, for: ctlId, text: '-'})]);
    if (c.unit) shown.appendChild(el('span', {class: 'unit', text: ' ' + c.unit}));
    input.addEventListener('input', () => {
      state.dragging[id] = true;
      $('val-' + id).textContent = input.value;
    });
    input.addEventListener('change', () => {
      delete state.dragging[id];
      send(id, Number(input.value));
    });
    // A drag that ends where it began fires no change: let the refresh show the slider again.
    for (const ev of ['pointerup', 'blur']) input.addEventListener(ev, () => delete state.dragging[id]);
    field.append(label, el('div', {class: 'row'}, [input, shown]));
  } else if (c.kind === 'list') {
    input = el('select', {id: ctlId}, c.options.map((o) => el('option', {value: o.value, text: o.label})));
    input.addEventListener('change', () => send(id, Number(input.value)));
    field.append(label, el('div', {class: 'row'}, [input]));
  } else if (c.kind === 'switch') {
    input = el('input', {type: 'checkbox', id: ctlId, role: 'switch'});
    const state_ = el('span', {class: 'switch-text', id: 'sw-' + id, text: text('switch.off', 'Off')});
    input.addEventListener('change', () => {
      state_.textContent = input.checked ? text('switch.on', 'On') : text('switch.off', 'Off');
      send(id, input.checked ? c.on : c.off);
    });
    field.append(label, el('label', {class: 'toggle', for: ctlId}, [input, el('span', {class: 'knob'}), state_]));
  } else if (c.kind === 'button') {
    input = el('button', {type: 'button', id: ctlId, text: c.label});
    input.addEventListener('click', () => send(id, c.value));
    field.append(el('span', {class: 'label'}), el('div', {class: 'row'}, [input]));
  } else {
    field.append(el('span', {text: c.label + ' (' + c.kind + ')'}));
  }
  field.appendChild(el('div', {class: 'err', id: 'err-' + id, role: 'alert'}));
  return field;
}

function openTab(key) {
  if (key === state.openTab) return;
  state.openTab = key;
  showTab();
  refresh();
}

function showTab() {
  for (const tab of state.page.tabs) {
    const open = tab.key === state.openTab;
    const button = $('tab-' + tab.key);
    button.setAttribute('aria-selected', open ? 'true' : 'false');
    button.classList.toggle('open', open);
    $('panel-' + tab.key).hidden = !open;
  }
}

// ---- values --------------------------------------------------------------------------------

function showValues(values) {
  for (const [id, v] of Object.entries(values || {})) {
    state.values[id] = v;
    const c = state.controls[id];
    const input = $('ctl-' + id);
    if (!c || !input || state.dragging[id]) continue;
    if (c.kind === 'slider') {
      input.value = v;
      $('val-' + id).textContent = String(v);
    } else if (c.kind === 'list') {
      input.value = String(v);
      if (input.value !== String(v)) input.selectedIndex = -1;
    } else if (c.kind === 'switch') {
      input.checked = v === c.on;
      input.indeterminate = v !== c.on && v !== c.off;
      $('sw-' + id).textContent = v === c.on ? text('switch.on', 'On') : text('switch.off', 'Off');
    }
  }
  applyConditions();
}

// A control with a condition is usable only while the other control's value is one it names.
function applyConditions() {
  for (const c of Object.values(state.controls)) {
    if (!c.when) continue;
    const v = state.values[String(c.when.id)];
    const usable = v !== undefined && c.when.values.includes(v);
    const input = $('ctl-' + c.id);
    if (input) input.disabled = !usable;
    $('field-' + c.id).classList.toggle('disabled', !usable);
  }
}

function readableIds(tabKey) {
  const ids = new Set();
  for (const tab of state.page.tabs) {
    if (tabKey !== undefined && tab.key !== tabKey) continue;
    for (const c of tab.controls) {
      if (c.kind !== 'button') ids.add(c.id);
      if (c.when && state.controls[String(c.when.id)]) ids.add(c.when.id);
    }
  }
  return [...ids];
}

// Reads the given ids (all readable ids when none are given) and the status line.
async function readValues(ids) {
  const query = ids && ids.length ? '?ids=' + ids.join(',') : '';
  const r = await api('GET', '/api/values' + query);
  if (r.body.ok) showValues(r.body.values);
  else say(r.body.error, 'error');
  await readStatus();
  await readFrames();
  return r.body.ok;
}

async function refresh() {
  if (!state.page) return;
  const ids = readableIds(state.openTab);
  if (ids.length) await readValues(ids);
  else await readStatus();
}

async function readStatus() {
  const r = await api('GET', '/api/status');
  const s = $('status');
  if (!r.body.ok) {
    s.textContent = r.body.error || '';
    return;
  }
  const dn = r.body.dayNight || {};
  const parts = ['Day/night: ' + [dn.mode, dn.state].filter(Boolean).join(', ')];
  if (dn.source) parts[0] += ' (' + dn.source + (dn.why ? ': ' + dn.why : '') + ')';
  else if (dn.why) parts[0] += ' (' + dn.why + ')';
  parts.push('scheme ' + r.body.scheme, 'scheme mode ' + r.body.schemeMode);
  s.textContent = parts.join(' \u00b7 ');
}

async function readFrames() {
  if (!state.page || !state.page.frames) return;
  const r = await api('GET', '/api/frames');
  if (r.body.ok) $('frames-text').textContent = (r.body.frames || []).join('\n');
}

// The reason goes next to the control and, after the control's label, in the message area.
function showError(id, msg, refused) {
  const e = $('err-' + id);
  if (e) e.textContent = msg;
  const c = state.controls[id];
  const what = refused ? text('message.failed', 'Refused') : (c ? c.label : '');
  say(what ? what + (c && refused ? ' (' + c.label + ')' : '') + ': ' + msg : msg, 'error');
}

// After a 403 the token is stale (the server was restarted, or another page took over): fetch a
// new one with the page model and ask the user to repeat the change.
async function staleToken(r, id) {
  if (r.status !== 403) return false;
  await loadPage(state.language);
  const msg = (r.body.error || 'session expired') + ' \u2014 the page was reloaded, please try again';
  if (id !== undefined) showError(id, msg);
  else say(msg, 'error');
  await readValues();
  return true;
}

// Changes go out one at a time, in the order they were made.
let queue = Promise.resolve();
function send(id, value) {
  queue = queue.then(() => sendNow(id, value));
  return queue;
}

// Sends one control's new value and shows what the module kept.
async function sendNow(id, value) {
  const err = $('err-' + id);
  if (err) err.textContent = '';
  const r = await api('POST', '/api/values', {values: {[id]: value}});
  if (await staleToken(r, id)) return;
  if (r.body.ok) {
    showValues(r.body.values);
    say('');
  } else {
    showError(id, r.body.error || text('message.failed', 'refused'), r.status === 422);
    if (r.body.values && Object.keys(r.body.values).length) showValues(r.body.values);
    else await readValues(state.controls[id] && state.controls[id].kind !== 'button' ? [id] : undefined);
  }
  await readStatus();
  await readFrames();
}

async function save() {
  const r = await api('POST', '/api/flush', {});
  if (await staleToken(r)) return;
  if (r.body.ok) say(text('message.saved', 'Saved'), 'ok');
  else say(r.body.error, 'error');
  await readFrames();
}

async function factoryDefaults() {
  if (!window.confirm(text('message.confirmDefault', 'Restore the factory settings?'))) return;
  const r = await api('POST', '/api/reset', {});
  if (await staleToken(r)) return;
  if (!r.body.ok) say(r.body.error, 'error');
  else say('');
  await readValues();
}

function startTimer() {
  if (state.timer) clearInterval(state.timer);
  state.timer = null;
  const seconds = Number(state.page.refreshSeconds) || 0;
  if (seconds > 0) {
    state.timer = setInterval(() => {
      if (state.busy === 0 && Object.keys(state.dragging).length === 0) refresh();
    }, seconds * 1000);
  }
}

async function start() {
  $('language').addEventListener('change', async (e) => {
    if (await loadPage(Number(e.target.value))) {
      startTimer();
      await readValues();
    }
  });
  $('refresh').addEventListener('click', () => refresh());
  $('save').addEventListener('click', () => save());
  $('default').addEventListener('click', () => factoryDefaults());
  const lang = Number(new URLSearchParams(window.location.search).get('lang')) || 1;
  if (await loadPage(lang)) {
    startTimer();
    await readValues();
  }
  document.body.dataset.ready = 'true';
}

start();
