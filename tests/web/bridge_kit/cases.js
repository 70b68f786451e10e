// The bridge kit's cases, run in a page against whatever host it has: the real SDK in WebKitGTK
// (tests/web/bridge_kit_web_test.cpp) or the mock host in node (mock_host.test.mjs). Both hosts
// are set up alike: the user below, "someapp://" installed, "points" answered, "nothing" not.
// Each case's value is compared with what it expects; the report lists what passed and failed.

export const advertisingId = '6D92078A-8246-4BA4-AE5B-76104861E7DC';
export const user = { userId: 'web-user', gender: 'M', birthYear: 1990 };
export const installedApp = 'someapp://open';
export const missingApp = 'missingapp://x';

const root = typeof window !== 'undefined' ? window : globalThis;

// An error as the cases compare it: its code, whether its message names the likely cause, and
// whether it came when the wait of `waitMs` ran out (not at once, and not much later).
async function failure(promise, waitMs) {
  const started = Date.now();
  try {
    return { resolved: await promise };
  } catch (e) {
    const elapsed = Date.now() - started;
    return {
      name: e.name,
      code: e.code,
      namesRefusal: /refuses a message: this page's origin is not trusted/.test(e.message),
      onTime: elapsed >= waitMs - 20 && elapsed < waitMs + 3000,
    };
  }
}

function leftoverGlobals() {
  return Object.keys(root).filter((k) =>
    k.startsWith('__korvaneKitApp_') || k.startsWith('_korvane_callback_kit_')).sort();
}

async function advertisingIdOf(kit) {
  // The SDK writes it right after injecting the bridge.
  for (let i = 0; i < 100 && !kit.config().ifa; i++) await new Promise((r) => setTimeout(r, 20));
  return kit.config().ifa;
}

const timeout = { name: 'KorvaneBridgeError', code: 'timeout', namesRefusal: true, onTime: true };

// How a call that cannot be sent ends.
const outcome = (promise) => promise.then(() => 'sent', (e) => ({ name: e.name, code: e.code }));
const invalid = { name: 'KorvaneBridgeError', code: 'invalid' };

export const suites = {
  trusted: [
    ['ready', async (kit) => { await kit.ready(); return kit.isAvailable(); }, true],
    ['config carries the advertising id', advertisingIdOf, advertisingId],
    ['userInfo', (kit) => kit.userInfo(), user],
    ['overlapping userInfo calls all resolve',
      (kit) => Promise.all([kit.userInfo(), kit.userInfo(), kit.userInfo()]), [user, user, user]],
    ['a handler the page set still hears userInfo', async (kit) => {
      const heard = [];
      const previous = root.onUserInfoReceived;
      root.onUserInfoReceived = (info) => heard.push(info);
      try {
        const info = await kit.userInfo();
        return [info, heard];
      } finally {
        root.onUserInfoReceived = previous;
      }
    }, [user, [user]]],
    ['isAppInstalled: installed', (kit) => kit.isAppInstalled(installedApp), true],
    ['isAppInstalled: missing', (kit) => kit.isAppInstalled(missingApp), false],
    ['request answered', (kit) => kit.request('points', { month: 11 }),
      { points: 1200, asked: { month: 11 } }],
    ['request the app answers with nothing times out',
      (kit) => failure(kit.request('nothing', { month: 11 }, { timeoutMs: 300 }), 300), timeout],
    ['track', (kit) => kit.track('kit_page_viewed', { page: 'kit' }), undefined],
    ['sendEvent', (kit) => kit.sendEvent('reward_shown', { amount: 5 }), undefined],
    ['missionCompleted', (kit) => kit.missionCompleted('mission-7'), undefined],
    ['missionProgressed', (kit) => kit.missionProgressed('mission-7'), undefined],
    ['missionRefreshed', (kit) => kit.missionRefreshed('unit-1'), undefined],
    ['quizStarted', (kit) => kit.quizStarted('quiz-1'), undefined],
    ['quizCompleted', (kit) => kit.quizCompleted('quiz-1', 1, 50), undefined],
    ['openExternal', (kit) => kit.openExternal('https://www.example.com/'), undefined],
    ['a value JSON cannot carry is not sent', (kit) => {
      const cyclic = {};
      cyclic.self = cyclic;
      return Promise.all([outcome(kit.track('cyclic', cyclic)),
        outcome(kit.request('points', { big: BigInt(1) }))]);
    }, [invalid, invalid]],
    ['no callback is left behind', async () => leftoverGlobals(), []],
  ],
  untrusted: [
    ['ready', async (kit) => { await kit.ready(); return kit.isAvailable(); }, true],
    ['userInfo is refused', (kit) => failure(kit.userInfo({ timeoutMs: 400 }), 400), timeout],
    ['isAppInstalled is refused',
      (kit) => failure(kit.isAppInstalled(installedApp, { timeoutMs: 400 }), 400), timeout],
    ['request is refused',
      (kit) => failure(kit.request('points', { month: 11 }, { timeoutMs: 400 }), 400), timeout],
    ['no callback is left behind', async () => leftoverGlobals(), []],
  ],
  // Run at start-up by a page that is still loading (a slow frame): the SDK injects the bridge
  // only once the load has finished.
  slowLoad: [
    ['a call made while the page loads waits for the bridge', (kit) => kit.userInfo(), user],
    ['ready', async (kit) => { await kit.ready(); return kit.isAvailable(); }, true],
  ],
  none: [],
};

// Object keys sorted, so that the engine's key order does not matter.
function canonical(value) {
  if (Array.isArray(value)) return value.map(canonical);
  if (value && typeof value === 'object') {
    const out = {};
    Object.keys(value).sort().forEach((k) => { out[k] = canonical(value[k]); });
    return out;
  }
  return value === undefined ? null : value;
}

/** Runs one suite, resolving to
 * { suite, total, passed: [names], failed: [{ name, got, expected }] }. */
export async function run(kit, suiteName) {
  const cases = suites[suiteName] || [];
  const report = { suite: suiteName, total: cases.length, passed: [], failed: [] };
  for (const [name, body, expected] of cases) {
    let got;
    try {
      got = await body(kit);
    } catch (e) {
      got = { threw: String(e && e.message || e) };
    }
    const same = JSON.stringify(canonical(got)) === JSON.stringify(canonical(expected));
    if (same) report.passed.push(name);
    else report.failed.push({ name, got: canonical(got), expected: canonical(expected) });
  }
  return report;
}
