// KorvaneSDK bridge kit: a promise-based client of the offerwall's JavaScript bridge for the
// pages the SDK shows. It wraps window.KorvaneBridge (injected by the SDK once a page has loaded)
// and the reply globals the native side calls, and has no runtime dependency.
// Types: korvane-bridge-kit.d.ts. Page author's guide: README.md beside this file.

const root = typeof window !== 'undefined' ? window : globalThis;

/** Default waits, in milliseconds. */
export const defaults = {
  /**
   * The longest a call waits for window.KorvaneBridge, counted from the call. The SDK injects it
   * only once the page has finished loading (every image and frame), which a slow network takes
   * its time over.
   */
  readyTimeoutMs: 30000,
  /** How long after the page's load event the bridge may still take to arrive. */
  readyGraceMs: 3000,
  /** userInfo and isAppInstalled (native answers an app check within 2 s). */
  replyTimeoutMs: 5000,
  /** request: the app may answer nothing at all. */
  requestTimeoutMs: 10000,
};

/**
 * Every failure of the kit: code is 'unavailable' (no bridge: not injected yet, a sub frame, or
 * not inside the offerwall), 'timeout' (no reply) or 'invalid' (not sent: a value JSON cannot
 * carry, such as a cycle or a BigInt).
 */
export class KorvaneBridgeError extends Error {
  constructor(code, message) {
    super(message);
    this.name = 'KorvaneBridgeError';
    this.code = code;
  }
}

function bridgeObject() {
  const bridge = root.KorvaneBridge;
  const handlers = root.webkit && root.webkit.messageHandlers;
  return bridge && typeof bridge.postMessage === 'function' && handlers && handlers.korvaneNative
    ? bridge
    : null;
}

/** Whether the SDK's bridge is in this page now (it arrives after the page's load event). */
export function isAvailable() {
  return bridgeObject() !== null;
}

// Whether the page has finished loading (its load event is due or past); a global scope without
// a document has nothing left to load.
function pageLoaded() {
  const doc = root.document;
  return !doc || doc.readyState === 'complete';
}

// Whether this page is a frame inside another page.
function framed() {
  return root.top !== undefined && root.top !== null && root.top !== root.self;
}

function inFrame() {
  return new KorvaneBridgeError('unavailable',
    'Korvane bridge: this page is a sub frame. The SDK puts window.KorvaneBridge in the ' +
    'offerwall\'s main page only and answers no frame, so call the kit from the main page (a ' +
    'frame may ask the main page to, with window.parent.postMessage).');
}

function notSent(e) {
  return new KorvaneBridgeError('invalid',
    'Korvane bridge: the message was not sent: ' + String(e && e.message || e) +
    ' (every value must be JSON: no cycles and no BigInt).');
}

function notInjected(waitedMs, loaded) {
  const handler = Boolean(root.webkit && root.webkit.messageHandlers &&
    root.webkit.messageHandlers.korvaneNative);
  const later = 'the SDK injects it once the page has finished loading (every image and frame); ' +
    'for slower loads raise defaults.readyTimeoutMs or defaults.readyGraceMs';
  return new KorvaneBridgeError('unavailable',
    'Korvane bridge: window.KorvaneBridge did not appear within ' + waitedMs + ' ms' +
    (loaded ? ', and the page has finished loading. ' : ', while the page was still loading. ') +
    (handler
      ? 'The SDK\'s message handler is here: the bridge is not injected yet (' + later + ').'
      : 'Either it is not injected yet (' + later + '), or the page is not inside the ' +
        'KorvaneSDK offerwall (in a desktop browser, install the mock host from ' +
        'korvane-mock-host.js first).'));
}

/**
 * Resolves once the bridge is in the page. Rejects with code 'unavailable' when it has not come
 * `graceMs` after the page's load event (or after the call, on a page loaded before it), or
 * `timeoutMs` after the call, whichever is first.
 */
export function ready(options) {
  const timeoutMs = waitOf(options, defaults.readyTimeoutMs);
  const graceMs = nonNegative(options && options.graceMs, defaults.readyGraceMs);
  const present = bridgeObject();
  if (present) return Promise.resolve(present);
  // A frame never gets the bridge: waiting would only delay the same answer.
  if (framed()) return Promise.reject(inFrame());
  return new Promise((resolve, reject) => {
    const started = Date.now();
    let loadedAt = pageLoaded() ? started : null;
    const poll = setInterval(() => {
      const bridge = bridgeObject();
      const now = Date.now();
      if (loadedAt === null && pageLoaded()) loadedAt = now;
      if (bridge) {
        clearInterval(poll);
        resolve(bridge);
      } else if (now - started >= timeoutMs ||
                 (loadedAt !== null && now - loadedAt >= graceMs)) {
        clearInterval(poll);
        reject(notInjected(now - started, loadedAt !== null));
      }
    }, 20);
  });
}

function nonNegative(value, fallback) {
  return typeof value === 'number' && value >= 0 ? value : fallback;
}

function waitOf(options, fallback) {
  return nonNegative(options && options.timeoutMs, fallback);
}

function noReply(what, timeoutMs) {
  const request = what.startsWith('dataRequest');
  return new KorvaneBridgeError('timeout',
    'Korvane bridge: no reply to ' + what + ' within ' + timeoutMs + ' ms. ' +
    (request ? 'The app may have no answer for this request (it then sends nothing). ' : '') +
    'The SDK answers nothing when it refuses a message: this page\'s origin is not trusted ' +
    'by the offerwall (see the SDK log for "Bridge message ... refused").');
}

let sequence = 0;
function globalName(prefix) {
  sequence += 1;
  return prefix + sequence + '_' + Math.random().toString(36).slice(2, 10);
}

// Waits for the bridge, calls `send(bridge, settle)` and resolves with what `settle` receives;
// rejects when nothing arrives within `timeoutMs`. `cleanup` runs either way.
function ask(what, timeoutMs, send, cleanup) {
  return ready().then((bridge) => new Promise((resolve, reject) => {
    const timer = setTimeout(() => {
      cleanup();
      reject(noReply(what, timeoutMs));
    }, timeoutMs);
    try {
      send(bridge, (value) => {
        clearTimeout(timer);
        cleanup();
        resolve(value);
      });
    } catch (e) {
      clearTimeout(timer);
      cleanup();
      reject(notSent(e));
    }
  }));
}

// --- userInfo: native calls window.onUserInfoReceived, never the callback getUserInfo stores.
const waitingForUser = new Set();
function receiveUserInfo(info) {
  const waiting = Array.from(waitingForUser);
  waitingForUser.clear();
  waiting.forEach((settle) => settle(info));
}
function installUserInfoReceiver() {
  const current = root.onUserInfoReceived;
  if (current && current.korvaneKit) return;
  // A handler the page set itself still hears every reply.
  const receiver = function (info) {
    receiveUserInfo(info);
    if (typeof current === 'function') current.call(root, info);
  };
  receiver.korvaneKit = true;
  root.onUserInfoReceived = receiver;
}

/** The logged-in user's profile: { userId, gender, birthYear }. Overlapping calls all resolve. */
export function userInfo(options) {
  const timeoutMs = waitOf(options, defaults.replyTimeoutMs);
  let entry = null;
  return ask('getUserInfo', timeoutMs, (bridge, settle) => {
    entry = settle;
    waitingForUser.add(settle);
    installUserInfoReceiver();
    bridge.getUserInfo(root.onUserInfoReceived);
  }, () => { if (entry) waitingForUser.delete(entry); });
}

/**
 * Whether an app opens for `url` (a custom scheme such as 'someapp://'). Native launches it, so
 * call it from a person's tap, never while the page renders.
 */
export function isAppInstalled(url, options) {
  const timeoutMs = waitOf(options, defaults.replyTimeoutMs);
  const name = globalName('__korvaneKitApp_');
  return ask('checkAppInstalled', timeoutMs, (bridge, settle) => {
    root[name] = (result) => settle(Boolean(result && result.installed));
    bridge.checkAppInstalled({ identifier: String(url), callback: name });
  }, () => { delete root[name]; });
}

/** Asks the app (its OfferwallEventCallback.onDataRequest) for data; rejects on timeout. */
export function request(type, params, options) {
  const timeoutMs = waitOf(options, defaults.requestTimeoutMs);
  const requestId = globalName('kit_');
  const name = '_korvane_callback_' + requestId;
  return ask("dataRequest '" + type + "'", timeoutMs, (bridge, settle) => {
    root[name] = settle;
    // Not requestData: the kit keeps the id so that it can remove the callback after a timeout.
    bridge.postMessage('dataRequest', { requestId, requestType: type, params: params || {} });
  }, () => { delete root[name]; });
}

function post(action) {
  return ready().then((bridge) => {
    try {
      action(bridge);
    } catch (e) {
      throw notSent(e);
    }
  });
}

/** Records a custom telemetry event with its payload (the object form, so the payload arrives). */
export function track(name, payload) {
  return post((b) => b.trackEvent({ eventName: name, payload: payload || {} }));
}
/** Forwards an event to the app's OfferwallEventCallback.onCustomEvent. */
export function sendEvent(eventType, payload) {
  return post((b) => b.sendEvent(eventType, payload || {}));
}
/** Opens `url` as a new page stacked over this one. */
export function openPage(url) {
  return post((b) => b.openWebView(String(url)));
}
/** Replaces this page by `url`. */
export function replacePage(url) {
  return post((b) => b.closeAndOpenWebView(String(url)));
}
/** Closes this page; the last page closes the offerwall. */
export function close() {
  return post((b) => b.close());
}
/** Opens an http(s) or itms-apps address outside the app. */
export function openExternal(url) {
  return post((b) => b.openExternalBrowser(String(url)));
}
/** Opens the adjoe offerwall (PlaytimeWeb). */
export function openAdjoe(placementId) {
  return post((b) => b.openAdjoeOfferwall(placementId || 'default'));
}
/** Tells the mission placement that a mission is completed. */
export function missionCompleted(missionId) {
  return post((b) => b.missionCompleted(missionId));
}
/** Tells the mission placement that a mission progressed (the bridge has no function for it). */
export function missionProgressed(missionId) {
  return post((b) => b.postMessage('missionProgressed', { missionId }));
}
/** Asks the mission placements to reload (for one unit, or all). */
export function missionRefreshed(unitId) {
  return post((b) => b.missionRefreshed(unitId));
}
/** Records that a quiz started (only in a page the SDK opened for a quiz). */
export function quizStarted(quizId) {
  return post((b) => b.quizStarted(quizId));
}
/** Tells the active quiz it is completed; rewardAmount, when given, is the reward it reports. */
export function quizCompleted(quizId, score, rewardAmount) {
  if (rewardAmount === undefined) return post((b) => b.quizCompleted(quizId, score));
  return post((b) => b.postMessage('quizCompleted', { quizId, score, rewardAmount }));
}

// The SDK writes the advertising identifier into window.KorvaneConfig only when the page has
// defined it by the time the page has loaded; loading the kit defines it.
if (!root.KorvaneConfig || typeof root.KorvaneConfig !== 'object') root.KorvaneConfig = {};

/** window.KorvaneConfig: { ifa } once the SDK has set it (all zeros: no identifier allowed). */
export function config() {
  if (!root.KorvaneConfig || typeof root.KorvaneConfig !== 'object') root.KorvaneConfig = {};
  return root.KorvaneConfig;
}
