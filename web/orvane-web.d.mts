// Typings of orvane-web.mjs. See docs/promise-api.md.

/// <reference path="./orvane-web.d.ts" />

/**
 * - `missing`: no extension, no plugin, or a part of it
 * - `not-allowed`: the user, or an administrator, does not let this site
 * - `blocked`: it is installed, but the browser keeps it from this page
 * - `ended`: the program beside the browser has ended, or the element has gone
 * - `closed`: the page called `close()`
 * - `aborted`: the page's signal
 * - `refused`: wrong arguments
 * - `unreachable`: Orvane Pellion does not answer
 * - `not-granted`: the user has not chosen that place
 * - `dialog-open`: another dialog of the element is open
 * - `failed`: anything else; the message tells
 */
export type ErrorCode =
  | 'missing' | 'not-allowed' | 'blocked' | 'ended' | 'closed' | 'aborted'
  | 'refused' | 'unreachable' | 'not-granted' | 'dialog-open' | 'failed';

/** What every promise of this module is rejected with. */
export class OrvaneWebError extends Error {
  constructor(code: ErrorCode, message: string, more?: { status?: number; cause?: unknown });
  readonly code: ErrorCode;
  /** The code in an error document of Orvane Pellion, else undefined. */
  readonly status: number | undefined;
  readonly cause: unknown;
}

/** For an element that `connect` makes. Without `dropMode` and a size, nothing of it is to be seen. */
export interface Parameters {
  id?: string;
  style?: string;
  width?: number | string;
  height?: number | string;
  dropMode?: 'upload' | 'callback';
  dropAllowMultiple?: boolean;
  dropAllowDirectories?: boolean;
  dropUploadUrl?: string;
  /** Any address; it is made absolute. */
  image?: string;
  pellionLaunchWaitTimeoutMs?: number;
  linkCapacity?: number;
  transferIcon?: string;
}

export interface ConnectOptions {
  signal?: AbortSignal;
  /** Where an element is put that `connect` makes; the end of the body without it. */
  parent?: Element;
  /** Milliseconds until an element without a plugin counts as such; 1000 without it. */
  wait?: number;
}

/** Extensions, without a dot and at least one, by the filter's name. Upper and lower case count. */
export interface FileTypes {
  [filterName: string]: [string, ...string[]];
}

export interface DialogOptions {
  /** The dialog's usual one without it. */
  title?: string;
  signal?: AbortSignal;
}

export interface TransferOptions {
  /** A download: a path that the user has granted. An upload: the address of a place. */
  to?: string;
  signal?: AbortSignal;
}

export interface ConnectionEvents {
  transfer: CustomEvent<OrvaneWeb.Transfer>;
  activity: CustomEvent<OrvaneWeb.TransferActivity>;
  drop: CustomEvent<OrvaneWeb.DroppedPaths>;
  /** An event of the plugin that could not be read. */
  error: CustomEvent<OrvaneWebError>;
  close: CustomEvent<OrvaneWebError>;
}

/** Rejections are always an OrvaneWebError. */
export interface Connection extends EventTarget {
  readonly element: Element;
  /** The plugin's version in short. */
  readonly version: string;

  addEventListener<Type extends keyof ConnectionEvents>(
      type: Type, listener: (this: Connection, event: ConnectionEvents[Type]) => void,
      options?: boolean | AddEventListenerOptions): void;
  addEventListener(type: string, listener: EventListenerOrEventListenerObject | null,
                   options?: boolean | AddEventListenerOptions): void;
  removeEventListener<Type extends keyof ConnectionEvents>(
      type: Type, listener: (this: Connection, event: ConnectionEvents[Type]) => void,
      options?: boolean | EventListenerOptions): void;
  removeEventListener(type: string, listener: EventListenerOrEventListenerObject | null,
                      options?: boolean | EventListenerOptions): void;

  /** Ends what is under way, and removes the element if `connect` made it. */
  close(): void;

  initSession(appId: string, domain?: string): Promise<OrvaneWeb.Session>;
  /** `data` is a JSON text, or what becomes one. An aborted request is sent all the same. */
  request<Answer = unknown>(method: string, path: string, data?: unknown,
                            options?: { signal?: AbortSignal }): Promise<Answer>;

  /** Needs a session. Answers once it has started; the iterator ends with the transfer. */
  download(sources: string | string[], options?: TransferOptions): Promise<AsyncIterableIterator<OrvaneWeb.Transfer>>;
  /** Needs a session. Answers once it has started; the iterator ends with the transfer. */
  upload(paths: string | string[],
         options: TransferOptions & { to: string }): Promise<AsyncIterableIterator<OrvaneWeb.Transfer>>;
  /** With `ids`: what is known of these, then their changes, until all of them are over. Else all changes. */
  transfers(options?: { ids?: Iterable<string>; signal?: AbortSignal }): AsyncIterableIterator<OrvaneWeb.Transfer>;

  startDownload(sourceUrl: string): Promise<void>;
  /** The user must have granted the path in a dialog. */
  startDownloadToPath(sourceUrl: string, destinationPath: string): Promise<void>;
  startUploadToURL(sourcePath: string, destinationUrl: string): Promise<void>;
  addToDownloadList(sourceUrl: string): Promise<void>;
  clearDownloadList(): Promise<void>;
  startListDownloadToPath(destinationPath: string): Promise<void>;
  addToUploadList(sourcePath: string): Promise<void>;
  clearUploadList(): Promise<void>;
  startListUploadToURL(destinationUrl: string): Promise<void>;
  handleDrop(): Promise<void>;

  /** The chosen paths; none when cancelled. */
  runOpenFileDialog(options?: DialogOptions & { multiple?: boolean; types?: FileTypes }): Promise<string[]>;
  /** The chosen folders, the first of them granted; none when cancelled. */
  runOpenFolderDialog(options?: DialogOptions & { multiple?: boolean }): Promise<string[]>;
  /** The chosen path, granted; null when cancelled. */
  runSaveFileDialog(options?: DialogOptions & { suggestedName?: string; types?: FileTypes }): Promise<string | null>;

  displayTransferManager(): Promise<void>;
  displayAboutWindow(): Promise<void>;
  displayPreferencesWindow(): Promise<void>;

  queryVersion(): Promise<string>;
  queryPluginVersion(): Promise<string>;
  queryBuildVersion(): Promise<string>;
  queryBrowserEngine(): Promise<string>;
  queryPellionVersion(): Promise<OrvaneWeb.ApplicationVersion>;
}

/**
 * Answers when the plugin of an element can be used; without an element, of one that it makes. The same
 * element gives the same connection until that is closed.
 */
export function connect(target?: Element | Parameters, options?: ConnectOptions): Promise<Connection>;
