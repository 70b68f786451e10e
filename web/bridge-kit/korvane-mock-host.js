// KorvaneSDK mock host: a stand-in for the SDK's native side in a desktop browser (or node), so
// offerwall pages can be developed and unit-tested without a phone. It installs
// window.webkit.messageHandlers.korvaneNative, injects window.KorvaneBridge exactly as the SDK
// does, answers messages the way the SDK's native side does, and logs what the page sent.
// Types: korvane-mock-host.d.ts. Guide: README.md beside this file.

const root = typeof window !== 'undefined' ? window : globalThis;

// The SDK's window.KorvaneBridge script: the very file the SDK compiles in, read where the
// repository keeps it (src/offerwall/korvane_bridge.js). The local backend serves it at the same
// place relative to /bridge-kit/. Its final line break is not part of the script.
const BRIDGE_SCRIPT_URL = new URL('../../src/offerwall/korvane_bridge.js', import.meta.url);
export const BRIDGE_SCRIPT = (await readText(BRIDGE_SCRIPT_URL)).replace(/\r?\n$/, '');

async function readText(url) {
  if (url.protocol === 'file:') {
    const { readFile } = await import('node:fs/promises');
    return readFile(url, 'utf8');
  }
  const response = await fetch(url);
  if (!response.ok) {
    throw new Error(`KorvaneSDK mock host: the bridge script is not at ${url} (${response.status})`);
  }
  return response.text();
}

const HARMLESS = ['close', 'retry'];

// As the SDK: an address in its strict form (a scheme, then URL characters and whole escapes),
// whose scheme the system may be handed for an app.
const NEVER_OUTSIDE = [
  'file', 'javascript', 'vbscript', 'data', 'about', 'blob', 'filesystem', 'view-source',
  'content', 'resource', 'chrome', 'jar', 'ftp', 'ftps', 'sftp', 'smb', 'nfs', 'afp', 'dav',
  'davs', 'webdav', 'ssh', 'telnet', 'trash', 'computer', 'network', 'recent', 'burn', 'archive',
  'admin', 'mtp', 'gphoto2', 'afc', 'ws', 'wss', 'korvane'];
function isValidUrl(url) {
  return /^[A-Za-z][A-Za-z0-9+.-]*:(?:[A-Za-z0-9\-._~:/?#[\]@!$&'()*+,;=]|%[0-9A-Fa-f]{2})*$/
    .test(url);
}
function mayOpenApp(url) {
  const scheme = url.slice(0, url.indexOf(':')).toLowerCase();
  return !scheme.startsWith('x-gvfs') && !NEVER_OUTSIDE.includes(scheme);
}

function isPlainIdentifier(name) {
  return typeof name === 'string' && /^[A-Za-z_$][A-Za-z0-9_$]*$/.test(name);
}
function isIdentifierSafe(id) {
  return typeof id === 'string' && /^[A-Za-z0-9_$]+$/.test(id);
}
function isObject(value) {
  return value !== null && typeof value === 'object' && !Array.isArray(value);
}
function text(data, key) {
  return typeof data[key] === 'string' ? data[key] : undefined;
}

/**
 * Installs the mock host in this page and returns it. Options (all optional):
 *   user: { userId, gender, birthYear }        the profile getUserInfo answers with
 *   installedApps: ['someapp://', ...]         identifiers (or their prefixes) that "launch"
 *   data: { type: object | (params) => object | null }  the app's answers to dataRequest;
 *                                               null or a type not listed: no answer, as the SDK
 *   trusted: true                               false: refuse all but close/retry, no reply
 *   contextType: undefined                      'quiz': a page opened for a quiz, the only
 *                                               one whose quiz messages the SDK handles
 *   origin: location's origin                   named in refusals
 *   advertisingId: all zeros                    written to window.KorvaneConfig.ifa, as the
 *                                               SDK does, when the page has defined KorvaneConfig
 *   delayMs: 0                                  delay before each reply
 *   injectBridge: true                          put window.KorvaneBridge in the page now
 *   onMessage: (message) => void                called for every message the page sent
 *   quiet: false                                true: no console lines
 */
export function installMockHost(options) {
  const o = options || {};
  const existing = root.webkit && root.webkit.messageHandlers &&
    root.webkit.messageHandlers.korvaneNative;
  if (existing && !existing.korvaneMock) {
    throw new Error('[KorvaneMockHost] the real SDK bridge is present; not installing the mock');
  }
  const host = {
    options: o,
    /** Every message the page posted: { type, data, raw, refused }. */
    sent: [],
    /** What the host did, as short texts ("openWebView https://...", "close", ...). */
    actions: [],
    user: o.user || { userId: 'mock-user', gender: '', birthYear: null },
    installedApps: o.installedApps || [],
    data: o.data || {},
    trusted: o.trusted !== false,
    quizCompleted: false,
    clear() { host.sent.length = 0; host.actions.length = 0; },
    /** The messages of one type, in order. */
    messages(type) { return host.sent.filter((m) => m.type === type); },
    injectBridge() { new Function('window', BRIDGE_SCRIPT)(root); },
    uninstall() {
      if (root.webkit === webkit) delete root.webkit;
      delete root.KorvaneBridge;
    },
  };
  const log = (level, line) => { if (!o.quiet) console[level]('[KorvaneMockHost] ' + line); };
  const later = (fn) => setTimeout(fn, o.delayMs || 0);
  const evaluate = (fn) => later(() => {
    try { fn(); } catch (e) { log('error', 'reply failed: ' + e); }
  });

  function replyAppInstalled(name, installed, identifier) {
    evaluate(() => {
      const result = { installed, identifier };
      if (typeof root[name] === 'function') root[name](result);
      else log('warn', 'Callback ' + name + ' is not a function');
    });
  }

  function handle(type, data) {
    switch (type) {
      case 'openWebView':
      case 'externalOpenBrowser': {
        const url = text(data, 'url');
        if (!url) return log('warn', type + ': No URL provided');
        return host.actions.push(type + ' ' + url);
      }
      case 'close':
      case 'retry':
        return host.actions.push(type);
      case 'closeOpenWebView':
        return host.actions.push('closeOpenWebView ' + (text(data, 'url') || ''));
      case 'trackEvent': {
        const name = text(data, 'eventName');
        if (name === undefined) {
          return log('warn', 'trackEvent: Missing required field (eventName)');
        }
        const payload = isObject(data.payload) ? data.payload : {};
        return host.actions.push('trackEvent ' + name + ' ' + JSON.stringify(payload));
      }
      case 'openAdjoeOfferwall':
        return host.actions.push('openAdjoeOfferwall ' + (text(data, 'placementId') || 'default'));
      case 'checkAppInstalled': {
        const name = text(data, 'callback') || 'onAppInstalledResult';
        if (!isPlainIdentifier(name)) {
          return log('warn', 'checkAppInstalled: Callback name is not a plain identifier: ' + name);
        }
        const identifier = text(data, 'identifier');
        if (!identifier) return replyAppInstalled(name, false, '');
        if (!isValidUrl(identifier)) {
          log('warn', 'Invalid URL scheme: ' + identifier);
          return replyAppInstalled(name, false, identifier);
        }
        if (!mayOpenApp(identifier)) {
          log('warn', '🚫 Not handing this URL to the system (scheme not allowed): ' + identifier);
          return replyAppInstalled(name, false, identifier);
        }
        const installed = host.installedApps.some((app) => identifier.startsWith(app));
        host.actions.push('checkAppInstalled ' + identifier);
        return replyAppInstalled(name, installed, identifier);
      }
      case 'quizCompleted':
      case 'quizStarted':
        if (o.contextType !== 'quiz') return log('warn', type + ': not a page opened for a quiz');
        // One completion per opening of the quiz.
        if (type === 'quizCompleted' && host.quizCompleted) {
          return log('warn', 'quizCompleted: this quiz has been completed');
        }
        if (type === 'quizCompleted') host.quizCompleted = true;
        return host.actions.push(type + ' ' + JSON.stringify(data));
      case 'missionCompleted':
      case 'missionProgressed':
        return host.actions.push(type + ' ' + JSON.stringify(data));
      case 'missionRefreshed':
        return host.actions.push('missionRefreshed ' + (text(data, 'unitId') || ''));
      case 'getUserInfo':
        return evaluate(() => {
          const user = host.user;
          const info = {
            userId: user.userId || '',
            gender: user.gender || '',
            birthYear: typeof user.birthYear === 'number' ? user.birthYear : null,
          };
          if (root.onUserInfoReceived) root.onUserInfoReceived(info);
        });
      case 'customEvent': {
        const eventType = text(data, 'eventType');
        if (eventType === undefined) return log('warn', 'customEvent: Missing eventType field');
        const payload = isObject(data.payload) ? data.payload : {};
        return host.actions.push('customEvent ' + eventType + ' ' + JSON.stringify(payload));
      }
      case 'dataRequest': {
        const id = text(data, 'requestId');
        const requestType = text(data, 'requestType');
        if (id === undefined || requestType === undefined) {
          return log('warn', 'dataRequest: Missing required fields (requestId or requestType)');
        }
        if (!isIdentifierSafe(id)) {
          return log('warn', 'dataRequest: Request id is not a plain identifier: ' + id);
        }
        const params = isObject(data.params) ? data.params : {};
        const answer = host.data[requestType];
        const response = typeof answer === 'function' ? answer(params) : answer;
        if (!isObject(response)) {
          return log('log', "No data returned for request '" + id + "' from parent app");
        }
        const copy = JSON.parse(JSON.stringify(response));
        return evaluate(() => {
          const callback = root['_korvane_callback_' + id];
          if (typeof callback === 'function') {
            callback(copy);
            delete root['_korvane_callback_' + id];
          } else {
            log('warn', 'No callback found for request: ' + id);
          }
        });
      }
      default:
        return log('warn', 'Unknown message type: ' + type);
    }
  }

  function receive(body) {
    // As the SDK: only a string holding a JSON object with a text "type".
    if (typeof body !== 'string') return;
    let parsed;
    try { parsed = JSON.parse(body); } catch (e) { parsed = null; }
    if (!isObject(parsed) || typeof parsed.type !== 'string') {
      return log('error', 'Failed to parse JS message: ' + body);
    }
    const data = isObject(parsed.data) ? parsed.data : {};
    const message = { type: parsed.type, data, raw: body, refused: false };
    if (!host.trusted && !HARMLESS.includes(parsed.type)) {
      message.refused = true;
      const origin = o.origin || (root.location && root.location.origin) || '(opaque)';
      log('warn', "🚫 Bridge message '" + parsed.type + "' refused: origin " + origin +
        ' is not trusted');
    }
    host.sent.push(message);
    if (o.onMessage) o.onMessage(message);
    if (!message.refused) handle(message.type, data);
  }

  const korvaneNative = { postMessage: receive, korvaneMock: true };
  const messageHandlers = { korvaneNative };
  // The SDK's polyfill: window.webkit.messageHandlers.postMessage reaches the same handler.
  Object.defineProperty(messageHandlers, 'postMessage', {
    value: (message) => receive(typeof message === 'string' ? message : JSON.stringify(message)),
  });
  const webkit = { messageHandlers };
  root.webkit = webkit;
  if (o.injectBridge !== false) host.injectBridge();
  if (root.KorvaneConfig) {
    root.KorvaneConfig.ifa = o.advertisingId || '00000000-0000-0000-0000-000000000000';
  }
  return host;
}
