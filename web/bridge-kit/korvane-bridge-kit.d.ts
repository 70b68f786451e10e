// Types of korvane-bridge-kit.js. Importing the kit also brings the types of the raw
// window.KorvaneBridge and window.KorvaneConfig (korvane-globals.d.ts).
import type {
  KorvaneBridge, KorvaneConfig, KorvaneJsonObject, KorvaneUserInfo,
} from './korvane-globals';

export type {
  KorvaneAppInstalledResult, KorvaneBridge, KorvaneConfig, KorvaneJsonObject, KorvaneMessageType,
  KorvaneUserInfo,
} from './korvane-globals';

/** How long a call waits, in milliseconds. */
export interface WaitOptions {
  timeoutMs?: number;
}

/** How long ready() waits for the bridge, in milliseconds. */
export interface ReadyOptions extends WaitOptions {
  /** After the page's load event (default defaults.readyGraceMs). */
  graceMs?: number;
}

export declare const defaults: {
  /** The longest wait for the bridge, from the call (30 s). */
  readyTimeoutMs: number;
  /** How long after the page's load event the bridge may still arrive (3 s). */
  readyGraceMs: number;
  replyTimeoutMs: number;
  requestTimeoutMs: number;
};

/**
 * 'unavailable': no bridge in the page (not injected yet, a sub frame, or not inside the
 * offerwall); 'timeout': no reply (refused, or nothing to say); 'invalid': not sent, as a value
 * is not JSON (a cycle, a BigInt).
 */
export declare class KorvaneBridgeError extends Error {
  readonly name: 'KorvaneBridgeError';
  readonly code: 'unavailable' | 'timeout' | 'invalid';
}

export declare function isAvailable(): boolean;
export declare function ready(options?: ReadyOptions): Promise<KorvaneBridge>;

export declare function userInfo(options?: WaitOptions): Promise<KorvaneUserInfo>;
/** Opens the app for `url` when one is installed, so call it from a person's tap. */
export declare function isAppInstalled(url: string, options?: WaitOptions): Promise<boolean>;
export declare function request<T extends object = KorvaneJsonObject>(
  type: string, params?: KorvaneJsonObject, options?: WaitOptions): Promise<T>;

export declare function track(name: string, payload?: KorvaneJsonObject): Promise<void>;
export declare function sendEvent(eventType: string, payload?: KorvaneJsonObject): Promise<void>;
export declare function openPage(url: string): Promise<void>;
export declare function replacePage(url: string): Promise<void>;
export declare function close(): Promise<void>;
export declare function openExternal(url: string): Promise<void>;
export declare function openAdjoe(placementId?: string): Promise<void>;
export declare function missionCompleted(missionId: string): Promise<void>;
export declare function missionProgressed(missionId: string): Promise<void>;
export declare function missionRefreshed(unitId?: string): Promise<void>;
export declare function quizStarted(quizId: string): Promise<void>;
/**
 * rewardAmount: a whole number from 0; otherwise, or when absent, the app hears the quiz's point.
 * The SDK honours one completion per opening of the quiz.
 */
export declare function quizCompleted(quizId: string, score: number,
                                      rewardAmount?: number): Promise<void>;

export declare function config(): KorvaneConfig;
