// Types of korvane-mock-host.js, the stand-in for the SDK's native side.
import type { KorvaneJsonObject, KorvaneMessageType, KorvaneUserInfo } from './korvane-globals';

/** The SDK's window.KorvaneBridge script, as the SDK injects it. */
export declare const BRIDGE_SCRIPT: string;

/** The app's answer to a dataRequest: null or undefined is no answer (the page hears nothing). */
export type MockDataAnswer =
  | KorvaneJsonObject
  | null
  | ((params: KorvaneJsonObject) => KorvaneJsonObject | null | undefined);

export interface MockHostOptions {
  user?: Partial<KorvaneUserInfo>;
  /** Identifiers (or their beginnings) of apps that "launch": isAppInstalled answers true. */
  installedApps?: string[];
  /** Answers per request type. */
  data?: { [requestType: string]: MockDataAnswer };
  /** false: refuse every message but close and retry without a reply, as for an untrusted page. */
  trusted?: boolean;
  /** 'quiz': a page opened for a quiz; quiz messages are ignored in any other, as by the SDK. */
  contextType?: 'quiz';
  /** The origin named in refusals (default: the page's). */
  origin?: string;
  /** Written to window.KorvaneConfig.ifa when the page defined it (default all zeros). */
  advertisingId?: string;
  /** Delay before every reply, in milliseconds (default 0). */
  delayMs?: number;
  /** false: leave window.KorvaneBridge out until host.injectBridge() (default true). */
  injectBridge?: boolean;
  onMessage?: (message: MockMessage) => void;
  /** true: no console lines. */
  quiet?: boolean;
}

export interface MockMessage {
  type: KorvaneMessageType | string;
  data: KorvaneJsonObject;
  /** The JSON text the page posted. */
  raw: string;
  /** Refused because the mock is untrusted. */
  refused: boolean;
}

export interface MockHost {
  readonly options: MockHostOptions;
  readonly sent: MockMessage[];
  /** What the host did: "openWebView <url>", "close", "trackEvent <name> <payload>", ... */
  readonly actions: string[];
  user: Partial<KorvaneUserInfo>;
  installedApps: string[];
  data: { [requestType: string]: MockDataAnswer };
  trusted: boolean;
  /** Whether the page has completed its quiz (the SDK honours one completion per opening). */
  quizCompleted: boolean;
  clear(): void;
  messages(type: KorvaneMessageType | string): MockMessage[];
  injectBridge(): void;
  uninstall(): void;
}

export declare function installMockHost(options?: MockHostOptions): MockHost;
