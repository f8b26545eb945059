// The dashboard: every figure it shows comes from the /v1 API with the token pasted into it.
// Texts from the API (message texts above all: anyone can send a reply) go into the page only
// through textContent, never as markup.
'use strict';

const REFRESH_MS = 5000;
const TOKEN_KEY = 'bulksms.token';
const CAMPAIGNS_SHOWN = 50;
const ITEMS_SHOWN = 100;
const REPLIES_SHOWN = 20;

let memoryToken = ''; // when the browser keeps no local storage
let timer = 0;
let selected = null; // the campaign whose messages are shown
let pickedByHand = false;
let campaignsById = new Map();

class ApiError extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
  get tokenRefused() {
    return this.status === 401 || this.status === 403;
  }
}

// ---- the token ----

function storedToken() {
  try {
    return localStorage.getItem(TOKEN_KEY) || memoryToken;
  } catch {
    return memoryToken;
  }
}

function keepToken(token) {
  memoryToken = token;
  try {
    if (token)
      localStorage.setItem(TOKEN_KEY, token);
    else
      localStorage.removeItem(TOKEN_KEY);
  } catch {
    // Kept in memory only: asked again when the page is loaded again.
  }
}

// A link may carry the token once as #token=...: kept, and taken out of the address bar and history.
function takeTokenFromAddress() {
  if (!location.hash.startsWith('#'))
    return;
  const fields = new URLSearchParams(location.hash.slice(1));
  const token = (fields.get('token') || '').trim();
  if (!token)
    return;
  keepToken(token);
  history.replaceState(null, '', location.pathname + location.search);
}

// ---- the API ----

async function api(path, method = 'GET') {
  let response;
  try {
    response = await fetch(path, {
      method,
      cache: 'no-store',
      credentials: 'omit',
      headers: { Authorization: 'Bearer ' + storedToken(), Accept: 'application/json' },
    });
  } catch {
    throw new ApiError(0, 'The server cannot be reached.');
  }
  let body = null;
  try {
    body = await response.json();
  } catch {
    body = null;
  }
  if (!response.ok) {
    const said = body && body.error && typeof body.error.message === 'string' ? body.error.message : '';
    throw new ApiError(response.status, said || `The server answered ${response.status}.`);
  }
  if (body === null || typeof body !== 'object')
    throw new ApiError(response.status, 'The server answered something that is not JSON.');
  return body;
}

// ---- building the page (text only) ----

function el(tag, className, text) {
  const e = document.createElement(tag);
  if (className)
    e.className = className;
  if (text !== undefined && text !== null)
    e.textContent = String(text);
  return e;
}

function cell(row, text, className) {
  const td = el('td', className, text);
  row.append(td);
  return td;
}

function when(iso) {
  if (typeof iso !== 'string' || !iso)
    return '';
  const t = new Date(iso);
  return Number.isNaN(t.getTime()) ? iso : t.toLocaleString(undefined, { dateStyle: 'medium', timeStyle: 'medium' });
}

function count(n) {
  return Number.isFinite(n) ? n : 0;
}

function section(id) {
  const root = document.getElementById(id);
  return {
    root,
    body: root.querySelector('tbody'),
    table: root.querySelector('table'),
    status(text, isProblem) {
      const p = root.querySelector('.section-status');
      p.textContent = text || '';
      p.hidden = !text;
      p.classList.toggle('problem', Boolean(isProblem));
    },
    fill(rows, emptyShown) {
      this.body.replaceChildren(...rows);
      this.table.hidden = rows.length === 0;
      const empty = root.querySelector('.empty');
      if (empty)
        empty.hidden = rows.length !== 0 || !emptyShown;
    },
  };
}

// Shows why a section could not be read; refused tokens are the caller's to handle.
function failed(part, error, missingText) {
  if (error instanceof ApiError && error.tokenRefused)
    throw error;
  if (error instanceof ApiError && error.status === 404 && missingText) {
    part.fill([], false);
    part.status(missingText, false);
    return;
  }
  part.status(error.message || String(error), true);
}

// ---- campaigns ----

function progress(c) {
  const counts = c.counts || {};
  const total = count(c.total);
  const sent = count(counts.sent);
  const fail = count(counts.failed);
  const queued = count(counts.queued) + count(counts.sending);
  const other = count(counts.unknown) + count(counts.not_sent);
  const box = el('div', 'progress');
  const bar = el('div', 'bar');
  bar.title = `${sent} sent, ${fail} failed, ${queued} queued, ${other} unknown or not sent, of ${total}`;
  for (const [kind, n] of [['sent', sent], ['failed', fail], ['other', other], ['queued', queued]]) {
    if (n <= 0 || total <= 0)
      continue;
    const part = el('span', kind);
    part.style.width = `${(100 * n) / total}%`;
    bar.append(part);
  }
  const figures = el('span', 'figures');
  figures.append(el('span', 'sent', `${sent} sent`), ' · ', el('span', 'failed', `${fail} failed`),
                 ` · ${queued} queued of ${total}`);
  box.append(bar, figures);
  return box;
}

function campaignRow(c) {
  const row = el('tr');
  row.dataset.id = String(c.id);
  if (c.id === selected)
    row.classList.add('selected');
  cell(row, c.id, 'num');
  const state = cell(row, c.state, 'state state-' + String(c.state).replace(/[^a-z_]/g, ''));
  if (c.reason)
    state.title = String(c.reason);
  cell(row, when(c.created));
  cell(row, when(c.start_at));
  cell(row, '', 'wide').append(progress(c));
  cell(row, count(c.replies), 'num');
  cell(row, count(c.opt_outs), 'num');
  row.addEventListener('click', () => {
    selected = c.id;
    pickedByHand = true;
    for (const other of row.parentElement.children)
      other.classList.toggle('selected', other === row);
    loadItems().catch(tokenRefused);
  });
  return row;
}

async function loadCampaigns() {
  const part = section('campaigns');
  try {
    const answer = await api(`/v1/campaigns?limit=${CAMPAIGNS_SHOWN}`);
    const list = Array.isArray(answer.campaigns) ? answer.campaigns : [];
    campaignsById = new Map(list.map((c) => [c.id, c]));
    // The newest campaign is shown until one is picked; a picked one that went away is let go.
    if (!pickedByHand || !campaignsById.has(selected))
      selected = list.length ? list[0].id : null;
    part.status(answer.next !== null && answer.next !== undefined ? `The newest ${list.length} campaigns.` : '');
    part.fill(list.map(campaignRow), true);
  } catch (error) {
    failed(part, error);
  }
}

// ---- the chosen campaign's messages ----

function cancelButton() {
  return document.getElementById('cancel');
}

async function loadItems() {
  const part = section('items');
  const title = document.getElementById('items-title');
  const c = campaignsById.get(selected);
  const button = cancelButton();
  if (!c) {
    title.textContent = 'Messages';
    button.hidden = true;
    part.status('');
    part.fill([], true);
    return;
  }
  const total = count(c.total);
  title.textContent = total > ITEMS_SHOWN ? `Campaign ${c.id}: the first ${ITEMS_SHOWN} of ${total} messages`
                                          : `Campaign ${c.id}: ${total} message${total === 1 ? '' : 's'}`;
  button.hidden = c.state === 'finished' || c.state === 'cancelled';
  try {
    const answer = await api(`/v1/campaigns/${encodeURIComponent(c.id)}/items?limit=${ITEMS_SHOWN}`);
    if (c.id !== selected)
      return; // another was picked meanwhile
    const rows = (Array.isArray(answer.items) ? answer.items : []).map((item) => {
      const row = el('tr');
      cell(row, count(item.position) + 1, 'num');
      cell(row, item.to);
      cell(row, item.state, 'state state-' + String(item.state).replace(/[^a-z_]/g, ''));
      cell(row, item.status);
      cell(row, item.device);
      cell(row, item.text, 'wide clipped').title = String(item.text ?? '');
      return row;
    });
    part.status('');
    part.fill(rows, false);
  } catch (error) {
    failed(part, error);
  }
}

async function cancelSelected() {
  const c = campaignsById.get(selected);
  if (!c)
    return;
  if (!confirm(`Cancel campaign ${c.id}? Its messages not sent yet will not be sent.`))
    return;
  const part = section('items');
  try {
    await api(`/v1/campaigns/${encodeURIComponent(c.id)}/cancel`, 'POST');
    part.status(`Campaign ${c.id} was cancelled.`);
  } catch (error) {
    failed(part, error);
    return;
  }
  await refreshNow();
}

// ---- latest replies ----

// The newest replies, newest first: one page.
async function readInbox() {
  const answer = await api(`/v1/inbox?order=newest&limit=${REPLIES_SHOWN}`);
  return Array.isArray(answer.messages) ? answer.messages : [];
}

async function loadReplies() {
  const part = section('replies');
  try {
    const newest = await readInbox();
    part.status('');
    part.fill(newest.map((m) => {
      const row = el('tr', m.read ? '' : 'unread');
      const who = cell(row, m.from, 'from');
      const answered = m.campaign === null || m.campaign === undefined ? '' : ` · campaign ${m.campaign}`;
      who.append(el('div', 'muted small', when(m.received) + answered));
      cell(row, m.text, 'wide text');
      return row;
    }), true);
  } catch (error) {
    failed(part, error, 'Not available: this server does not offer the inbox.');
  }
}

// ---- devices ----

async function loadDevices() {
  const part = section('devices');
  try {
    const answer = await api('/v1/devices');
    const list = Array.isArray(answer.devices) ? answer.devices : [];
    part.status('');
    part.fill(list.map((d) => {
      const row = el('tr');
      row.className = 'device';
      for (const field of ['host', 'road', 'device', 'sender', 'details', 'signal', 'state', 'limits'])
        cell(row, d[field]);
      cell(row, count(d.sent), 'num');
      cell(row, count(d.failed), 'num');
      cell(row, when(d.seen));
      return row;
    }), true);
  } catch (error) {
    failed(part, error, 'Not available: this server does not offer its devices.');
  }
}

// ---- refreshing, and asking for a token ----

function showBoard(shown) {
  document.getElementById('board').hidden = !shown;
  document.getElementById('forget').hidden = !shown;
  document.getElementById('token-panel').hidden = shown;
}

function askForToken(message) {
  clearTimeout(timer);
  timer = 0;
  showBoard(false);
  const p = document.getElementById('token-message');
  p.textContent = message || '';
  p.hidden = !message;
  document.getElementById('updated').textContent = '';
  document.getElementById('token-input').focus();
}

function tokenRefused(error) {
  if (!(error instanceof ApiError && error.tokenRefused))
    throw error;
  keepToken('');
  askForToken(`The token was refused (${error.status}): ${error.message} Paste a valid token.`);
}

async function refreshNow() {
  clearTimeout(timer);
  timer = 0;
  if (!storedToken()) {
    askForToken('');
    return;
  }
  showBoard(true);
  try {
    await loadCampaigns();
    const all = await Promise.allSettled([loadItems(), loadReplies(), loadDevices()]);
    for (const result of all)
      if (result.status === 'rejected')
        throw result.reason;
  } catch (error) {
    tokenRefused(error);
    return;
  }
  document.getElementById('updated').textContent = `Updated ${new Date().toLocaleTimeString()}`;
  timer = setTimeout(() => refreshNow().catch(() => {}), REFRESH_MS);
}

function start() {
  takeTokenFromAddress();
  document.getElementById('token-form').addEventListener('submit', (event) => {
    event.preventDefault();
    const input = document.getElementById('token-input');
    const token = input.value.trim();
    if (!token)
      return;
    input.value = '';
    keepToken(token);
    refreshNow().catch(() => {});
  });
  document.getElementById('forget').addEventListener('click', () => {
    keepToken('');
    for (const id of ['campaigns', 'items', 'replies', 'devices'])
      section(id).fill([], false);
    selected = null;
    pickedByHand = false;
    askForToken('');
  });
  cancelButton().addEventListener('click', () => {
    cancelSelected().catch(tokenRefused);
  });
  refreshNow().catch(() => {});
}

start();
