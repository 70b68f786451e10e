// A page under development in a desktop browser: the mock host stands in for the SDK.
import { installMockHost } from '../korvane-mock-host.js';
import type { MockHost } from '../korvane-mock-host.js';
import { request, userInfo } from '../korvane-bridge-kit.js';

const host: MockHost = installMockHost({
  user: { userId: 'dev-user', gender: 'F', birthYear: 1994 },
  installedApps: ['someapp://'],
  data: { points: (params) => ({ points: 1200, asked: params }), nothing: null },
  delayMs: 150,
});

async function main(): Promise<void> {
  const user = await userInfo();
  const answer = await request('points', { month: 11 });
  console.log(user.userId, answer, host.sent.length, host.actions);
}

void main();
