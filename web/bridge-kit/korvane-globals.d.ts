// Types of what the KorvaneSDK puts into an offerwall page: the raw window.KorvaneBridge object
// (injected after the page has loaded), window.KorvaneConfig (the page defines it; the SDK sets
// its ifa) and the reply globals the native side calls. A page that uses the bridge without the
// kit gets these types with:  /// <reference path="korvane-globals.d.ts" />

/** The profile the SDK sends for getUserInfo. */
export interface KorvaneUserInfo {
  userId: string;
  /** "M", "F", "O", or "" when the app gave none. */
  gender: string;
  /** null when the app gave none. */
  birthYear: number | null;
}

/** What native passes to a checkAppInstalled callback. */
export interface KorvaneAppInstalledResult {
  installed: boolean;
  identifier: string;
}

/** A JSON object as the bridge carries it. */
export type KorvaneJsonObject = { [key: string]: unknown };

/** window.KorvaneConfig: defined by the page; the SDK sets ifa after the page has loaded. */
export interface KorvaneConfig {
  /** The advertising identifier; "00000000-0000-0000-0000-000000000000" when none is allowed. */
  ifa?: string;
  [key: string]: unknown;
}

/** The message types the native side handles. */
export type KorvaneMessageType =
  | 'openWebView' | 'close' | 'retry' | 'closeOpenWebView' | 'externalOpenBrowser'
  | 'trackEvent' | 'openAdjoeOfferwall' | 'checkAppInstalled' | 'quizCompleted'
  | 'quizStarted' | 'missionCompleted' | 'missionProgressed' | 'missionRefreshed'
  | 'getUserInfo' | 'customEvent' | 'dataRequest';

/** window.KorvaneBridge exactly as the SDK injects it, traps included. */
export interface KorvaneBridge {
  /** Posts {type, data} as a JSON text to the "korvaneNative" handler. */
  postMessage(type: KorvaneMessageType, data?: KorvaneJsonObject): void;
  openWebView(url: string): void;
  close(): void;
  /** Posts "closeOpenWebView": replaces the current page. */
  closeAndOpenWebView(url: string): void;
  /** Posts "externalOpenBrowser". */
  openExternalBrowser(url: string): void;
  quizStarted(quizId: string): void;
  quizCompleted(quizId: string, score: number): void;
  missionCompleted(missionId: string): void;
  missionRefreshed(unitId?: string): void;
  /**
   * Trap: the callback is stored in window.userInfoCallback and never called; native answers
   * through window.onUserInfoReceived.
   */
  getUserInfo(callback?: (info: KorvaneUserInfo) => void): void;
  /**
   * Trap: the (name, parameters) form sends "parameters", which native does not read, so the
   * event arrives with an empty payload. Use the object form with a "payload" key.
   */
  trackEvent(event: { eventName: string; payload?: KorvaneJsonObject }): void;
  trackEvent(eventName: string, parameters?: KorvaneJsonObject): void;
  /**
   * Trap: the callback is the name of a global function (a plain identifier), not a function;
   * without one native calls window.onAppInstalledResult.
   */
  checkAppInstalled(params: { identifier: string; callback?: string }): void;
  checkAppInstalled(identifier: string, callbackName?: string): void;
  /** Posts "customEvent" for the app's OfferwallEventCallback.onCustomEvent. */
  sendEvent(eventType: string, payload?: KorvaneJsonObject): void;
  /**
   * Trap: when the app answers nothing the callback is never called (and stays registered as
   * window._korvane_callback_<id>).
   */
  requestData(requestType: string, params?: KorvaneJsonObject,
              callback?: (response: KorvaneJsonObject) => void): void;
  openAdjoeOfferwall(placementId?: string): void;
}

declare global {
  interface Window {
    /** Injected by the SDK after the page has loaded; absent outside the offerwall. */
    KorvaneBridge?: KorvaneBridge;
    KorvaneConfig?: KorvaneConfig;
    /** Native's reply to getUserInfo. */
    onUserInfoReceived?: (info: KorvaneUserInfo) => void;
    /** Native's reply to checkAppInstalled when no callback name was given. */
    onAppInstalledResult?: (result: KorvaneAppInstalledResult) => void;
  }
}
