// The bridge kit against the mock host, in node: the same cases as the WebKitGTK test against
// the real SDK (cases.js) and what the mock heard. The mock injects the SDK's own bridge script
// file. Run: node --test tests/web/bridge_kit/mock_host.test.mjs
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

globalThis.window = globalThis;  // the kit and the mock use window's globals
const source = new URL('../../../', import.meta.url);
const kit = await import(new URL('web/bridge-kit/korvane-bridge-kit.js', source));
const { installMockHost } =
  await import(new URL('web/bridge-kit/korvane-mock-host.js', source));
const cases = await import('./cases.js');

function mockLikeTheWebTest(extra) {
  return installMockHost(Object.assign({
    user: cases.user,
    installedApps: ['someapp://'],
    data: { points: (params) => ({ points: 1200, asked: params }) },
    advertisingId: cases.advertisingId,
    delayMs: 5,
    contextType: 'quiz',
    quiet: true,
  }, extra));
}

test('the declarations name every export of the kit and the mock, and nothing more', async () => {
  const mock = await import(new URL('web/bridge-kit/korvane-mock-host.js', source));
  const pairs = [[kit, 'korvane-bridge-kit.d.ts'], [mock, 'korvane-mock-host.d.ts']];
  for (const [module, file] of pairs) {
    const text = readFileSync(new URL('web/bridge-kit/' + file, source), 'utf8');
    const declared = [...text.matchAll(/export declare (?:function|const|class) (\w+)/g)]
      .map((m) => m[1]).sort();
    assert.deepEqual(Object.keys(module).sort(), declared, file);
  }
});

// A page as the SDK's web view holds it while loading: the document, and nothing more.
function loadingDocument() {
  window.document = { readyState: 'loading' };
  return {
    finish() { window.document.readyState = 'complete'; },
    remove() { delete window.document; },
  };
}

const unavailable = (pattern) => (e) =>
  e instanceof kit.KorvaneBridgeError && e.code === 'unavailable' && pattern.test(e.message);

test('without a host the kit rejects as unavailable, naming both causes', async () => {
  assert.equal(kit.isAvailable(), false);
  // A page that has loaded without the bridge is given up on after the grace period, long
  // before the overall wait.
  await assert.rejects(kit.ready({ graceMs: 60 }),
    unavailable(/has finished loading\. Either it is not injected yet .*or the page is not inside the KorvaneSDK offerwall.*mock host/));
  const page = loadingDocument();
  try {
    await assert.rejects(kit.ready({ timeoutMs: 60 }),
      unavailable(/while the page was still loading\. Either it is not injected yet/));
  } finally {
    page.remove();
  }
});

test('inside the offerwall before the injection, the rejection says it is not injected yet',
  async () => {
    const host = mockLikeTheWebTest({ injectBridge: false });
    const page = loadingDocument();
    try {
      await assert.rejects(kit.ready({ timeoutMs: 60 }),
        unavailable(/message handler is here: the bridge is not injected yet/));
      assert.doesNotMatch(
        await kit.ready({ timeoutMs: 60 }).catch((e) => e.message), /not inside/);
    } finally {
      page.remove();
      host.uninstall();
    }
  });

test('a sub frame is told at once that frames get no bridge', async () => {
  const host = mockLikeTheWebTest({ injectBridge: false });
  window.self = window;
  window.top = {};
  try {
    for (const call of [kit.ready(), kit.userInfo(), kit.close()]) {
      await assert.rejects(call, unavailable(/this page is a sub frame/));
    }
  } finally {
    delete window.top;
    delete window.self;
    host.uninstall();
  }
});

test('the mock refuses what the SDK refuses', async () => {
  const cases = [
    // [what, the mock's options, the call, its answer, what the host did]
    ['an app', {}, () => kit.isAppInstalled('someapp://x'), true, ['checkAppInstalled someapp://x']],
    ['a scheme never handed out', { installedApps: ['javascript:'] },
      () => kit.isAppInstalled('javascript:alert(1)'), false, []],
    ['not an address', { installedApps: ['some'] }, () => kit.isAppInstalled('some app://x'), false, []],
    ['a quiz outside a quiz page', { contextType: undefined },
      () => kit.quizCompleted('q1', 1, 5), undefined, []],
    ['a quiz completed twice', {},
      () => kit.quizCompleted('q1', 1, 5).then(() => kit.quizCompleted('q1', 1, 5)), undefined,
      ['quizCompleted {"quizId":"q1","score":1,"rewardAmount":5}']],
  ];
  for (const [what, options, call, answer, actions] of cases) {
    const host = mockLikeTheWebTest(options);
    try {
      assert.equal(await call(), answer, what);
      assert.deepEqual(host.actions, actions, what);
    } finally {
      host.uninstall();
    }
  }
});

// A load slower than the kit's first wait of 5 s: the calls made at start-up wait for the load
// and the injection that follows it.
test('calls made during a slow load wait for the bridge', async () => {
  const host = mockLikeTheWebTest({ injectBridge: false });
  const page = loadingDocument();
  const loaded = setTimeout(() => {
    page.finish();
    setTimeout(() => host.injectBridge(), 30);
  }, 5500);
  try {
    const report = await cases.run(kit, 'slowLoad');
    assert.deepEqual(report.failed, []);
    assert.equal(report.passed.length, cases.suites.slowLoad.length);
  } finally {
    clearTimeout(loaded);
    page.remove();
    host.uninstall();
  }
});

test('trusted cases', async () => {
  const host = mockLikeTheWebTest();
  try {
    const report = await cases.run(kit, 'trusted');
    assert.deepEqual(report.failed, []);
    assert.equal(report.passed.length, cases.suites.trusted.length);
    // What the host did, as the SDK would (the web test checks the SDK's side of each).
    assert.deepEqual(host.actions, [
      'checkAppInstalled someapp://open',
      'checkAppInstalled missingapp://x',
      'trackEvent kit_page_viewed {"page":"kit"}',
      'customEvent reward_shown {"amount":5}',
      'missionCompleted {"missionId":"mission-7"}',
      'missionProgressed {"missionId":"mission-7"}',
      'missionRefreshed unit-1',
      'quizStarted {"quizId":"quiz-1"}',
      'quizCompleted {"quizId":"quiz-1","score":1,"rewardAmount":50}',
      'externalOpenBrowser https://www.example.com/',
    ]);
    assert.equal(host.messages('getUserInfo').length, 5);
    assert.deepEqual(host.messages('dataRequest').map((m) => m.data.requestType),
      ['points', 'nothing']);
    assert.ok(host.sent.every((m) => typeof m.raw === 'string' && !m.refused));
    assert.deepEqual(host.messages('trackEvent')[0].data,
      { eventName: 'kit_page_viewed', payload: { page: 'kit' } }, 'the payload arrives');
  } finally {
    host.uninstall();
  }
});

test('untrusted cases: refusals reject clearly, close still works', async () => {
  const host = mockLikeTheWebTest({ trusted: false, origin: 'http://127.0.0.1:9' });
  try {
    const report = await cases.run(kit, 'untrusted');
    assert.deepEqual(report.failed, []);
    assert.equal(report.passed.length, cases.suites.untrusted.length);
    assert.deepEqual(host.sent.map((m) => [m.type, m.refused]),
      [['getUserInfo', true], ['checkAppInstalled', true], ['dataRequest', true]]);
    assert.deepEqual(host.actions, []);
    await kit.close();
    assert.deepEqual(host.actions, ['close']);
  } finally {
    host.uninstall();
  }
});

test('navigation and adjoe', async () => {
  const host = mockLikeTheWebTest();
  try {
    await kit.openPage('https://offers.example/next.html');
    await kit.replacePage('https://offers.example/other.html');
    await kit.openAdjoe('kit-adjoe');
    await kit.openAdjoe();
    await kit.close();
    assert.deepEqual(host.actions, [
      'openWebView https://offers.example/next.html',
      'closeOpenWebView https://offers.example/other.html',
      'openAdjoeOfferwall kit-adjoe',
      'openAdjoeOfferwall default',
      'close',
    ]);
  } finally {
    host.uninstall();
  }
});

const rawCallbacks = () =>
  Object.keys(window).filter((k) => k.startsWith('_korvane_callback_req_'));

test('the raw bridge through the mock keeps the SDK traps', async () => {
  const host = mockLikeTheWebTest();
  try {
    // trackEvent(name, parameters) sends "parameters", which the native side does not read.
    window.KorvaneBridge.trackEvent('raw_event', { page: 'raw' });
    assert.deepEqual(host.actions, ['trackEvent raw_event {}']);
    // A dataRequest the app answers with nothing leaves the callback registered.
    let called = false;
    window.KorvaneBridge.requestData('nothing', {}, () => { called = true; });
    await new Promise((r) => setTimeout(r, 30));
    assert.equal(called, false);
    assert.equal(rawCallbacks().length, 1);
    // A callback name that is not a plain identifier gets no reply.
    window.KorvaneBridge.checkAppInstalled('someapp://open', 'x||y');
    assert.deepEqual(host.actions, ['trackEvent raw_event {}']);
  } finally {
    for (const k of rawCallbacks()) delete window[k];
    host.uninstall();
  }
});
