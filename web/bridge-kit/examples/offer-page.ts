// An offer page written in TypeScript against the kit (type-checked by ctest's bridge_kit.types).
import {
  KorvaneBridgeError, config, isAppInstalled, missionCompleted, openExternal, openPage, ready,
  request, track, userInfo,
} from '../korvane-bridge-kit.js';
import type { KorvaneUserInfo } from '../korvane-bridge-kit.js';

interface Points {
  points: number;
}

async function showOffers(): Promise<void> {
  await ready();
  const user: KorvaneUserInfo = await userInfo();
  const birthYear: number | null = user.birthYear;
  const label = document.querySelector('#who');
  if (label) label.textContent = user.userId + (birthYear === null ? '' : ' ' + birthYear);

  await track('offer_list_viewed', { ifa: config().ifa ?? '' });
  // It launches the app when installed: only on the person's tap.
  const play = document.querySelector<HTMLButtonElement>('#play');
  if (play) {
    play.onclick = async () => {
      const installed: boolean = await isAppInstalled('someapp://');
      if (!installed) await openExternal('https://apps.apple.com/app/id1234567890');
    };
  }

  try {
    const balance = await request<Points>('points', { month: 11 }, { timeoutMs: 3000 });
    const points: number = balance.points;
    console.log('points', points);
  } catch (e) {
    if (e instanceof KorvaneBridgeError && e.code === 'timeout') console.warn(e.message);
    else throw e;
  }
  await missionCompleted('mission-1');
  await openPage(new URL('reward.html', location.href).href);
}

void showOffers();
