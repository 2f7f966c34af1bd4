// Typings of the Orvane Web plugin, version 3.1. See docs/page-api.md and docs/events.md.
//
//   const orvane = document.getElementById('plugin') as OrvaneWeb.Element;

/** What an embed element of type "application/x-orvane-web" has besides being an element. */
declare namespace OrvaneWeb {
  /**
   * A JSON text as `JSON.parse` takes it, or an error document. Error documents carry their message
   * unescaped, so that `JSON.parse` may refuse them: treat such a text as an error.
   */
  type JsonText = string;

  /** `true`, `false`, or one of the two texts. */
  type BooleanLike = boolean | 'true' | 'false';

  interface ErrorDocument {
    error: {
      /** -1 for the plugin's own errors. */
      code: number;
      user_message: string;
    };
  }

  interface Session {
    app_id: string;
  }

  /** The answer of `/v4/pellion/version`. */
  interface ApplicationVersion {
    product: string;
    version: string;
    api_version: string;
    simulator?: boolean;
  }

  type TransferStatus = 'initiating' | 'running' | 'completed' | 'failed' | 'cancelled';

  interface TransferFile {
    source: string;
    path: string;
    bytes_written: number;
    bytes_expected: number;
  }

  interface Transfer {
    id: string;
    app_id: string;
    direction: 'receive' | 'send';
    status: TransferStatus;
    bytes_written: number;
    /** 0 while it is not known. */
    bytes_expected: number;
    /** A whole number; 100 only when completed. */
    percentage: number;
    /** Bytes per second. */
    rate: number;
    /** Empty unless the transfer failed. */
    error: string;
    file_count: number;
    /** The first hundred. */
    files: TransferFile[];
  }

  /** The JSON of a "transfer" event. */
  interface TransferActivity {
    iteration_token: string;
    transfers: Transfer[];
  }

  /** The JSON of a "drop" event: the dropped paths. */
  type DroppedPaths = string[];

  /** One element of `transfer_specs` in the body of `/v4/transfers/start`. */
  interface TransferSpec {
    orvane_pellion_settings?: {
      app_id?: string;
      /** For a download: `destination_root` is a place that the user has chosen in a dialog. */
      use_absolute_destination_path?: boolean;
    };
    transfer_spec: {
      direction: 'receive' | 'send';
      paths: { source: string; destination?: string }[];
      destination_root?: string;
      remote_url?: string;
    };
  }

  /** The body of `/v4/transfers/start`. */
  interface TransferRequest {
    orvane_pellion_settings?: { app_id?: string };
    transfer_specs: TransferSpec[];
  }

  /** The answer of `/v4/transfers/start`. */
  interface StartedTransfers {
    transfers: { id: string }[];
  }

  /** One filter of a file dialog. */
  interface FileType {
    filter_name: string;
    /** Without a dot, at least one. Upper and lower case count. */
    extensions: [string, ...string[]];
  }

  interface DropObserver {
    /** `paths` is joined by colons; a backslash stands before each colon and backslash of a path. */
    onDrop(paths: string): void;
  }

  type EventType = 'drop' | 'transfer';
  type EventHandler = (type: EventType, json: JsonText) => void;
  type TextCallback = (text: JsonText) => void;

  /** A call with wrong arguments throws and does nothing. */
  interface Plugin {
    /** A text that the page may keep here. */
    name: string;
    dropObserver: DropObserver | null;
    eventHandler: EventHandler | null;

    /** The JSON text of a `Session`, or an error document. */
    initSession(appId: string, domain: string): JsonText;
    /** Blocks. The body of the answer, or an error document. `data` is a JSON text or empty. */
    pellionHttpRequest(method: string, path: string, data: string): string;
    /** Null when queued; otherwise an error document, and the callback is not called. */
    pellionHttpRequestAsync(method: string, path: string, data: string,
                            callback: TextCallback): JsonText | null;

    startDownload(sourceUrl: string): void;
    /** The user must have granted the path in a dialog. */
    startDownloadToPath(sourceUrl: string, destinationPath: string): void;
    startUploadToURL(sourcePath: string, destinationUrl: string): void;
    addToDownloadList(sourceUrl: string): void;
    clearDownloadList(): void;
    startListDownloadToPath(destinationPath: string): void;
    addToUploadList(sourcePath: string): void;
    clearUploadList(): void;
    startListUploadToURL(destinationUrl: string): void;
    handleDrop(): void;

    /** Blocks. Paths joined by colons, as in `DropObserver`; empty when cancelled. */
    runOpenFileDialog(allowDirectories: BooleanLike, allowMultiple: BooleanLike): string;
    /** Blocks. Folders joined by colons; empty when cancelled. */
    runOpenFolderDialog(allowMultiple: BooleanLike): string;
    /** Blocks. The path as it stands; empty when cancelled. */
    runSaveFileDialog(suggestedName: string): string;
    /** Null when the dialog will be shown, else an error document. Calls back with an array. */
    runOpenFileDialogAsync(title: string, allowMultiple: BooleanLike, fileTypes: JsonText,
                           callback: TextCallback): JsonText | null;
    /** Null when the dialog will be shown, else an error document. Calls back with an array. */
    runOpenFolderDialogAsync(title: string, allowMultiple: BooleanLike,
                             callback: TextCallback): JsonText | null;
    /** Null when the dialog will be shown, else an error document. Calls back with a path. */
    runSaveFileDialogAsync(title: string, suggestedName: string, fileTypes: JsonText,
                           callback: TextCallback): JsonText | null;

    displayTransferManager(): void;
    displayAboutWindow(): void;
    displayPreferencesWindow(): void;

    queryVersion(): string;
    queryPluginVersion(): string;
    queryBuildVersion(): string;
    queryBrowserEngine(): string;
    /** The JSON text of an `ApplicationVersion`, or an error document. */
    queryPellionVersion(): JsonText;
  }

  type Element = HTMLEmbedElement & Plugin;
}
