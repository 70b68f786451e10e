// A page that uses the raw window.KorvaneBridge without the kit still gets its types.
/// <reference path="../korvane-globals.d.ts" />
import type { KorvaneAppInstalledResult, KorvaneUserInfo } from '../korvane-globals';

window.onUserInfoReceived = (info: KorvaneUserInfo) => {
  console.log(info.userId, info.gender);
};
window.onAppInstalledResult = (result: KorvaneAppInstalledResult) => {
  console.log(result.identifier, result.installed);
};

const bridge = window.KorvaneBridge;
if (bridge) {
  bridge.getUserInfo();
  bridge.trackEvent({ eventName: 'raw_page_viewed', payload: { page: 'raw' } });
  // It launches the app when installed: only on the person's tap.
  const play = document.querySelector('#play');
  if (play) {
    play.addEventListener('click', () =>
      bridge.checkAppInstalled({ identifier: 'someapp://', callback: 'onAppInstalledResult' }));
  }
  bridge.postMessage('missionProgressed', { missionId: 'mission-1' });
  bridge.requestData('points', {}, (response) => console.log(response['points']));
}
const ifa: string | undefined = window.KorvaneConfig?.ifa;
console.log(ifa);
