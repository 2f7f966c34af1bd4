// A page's script in TypeScript: compile it with --strict and orvane-web.d.ts.

/// <reference path="orvane-web.d.ts" />

const orvane = document.getElementById('plugin') as OrvaneWeb.Element;

/** An error document, or a text that is not even JSON, becomes an exception. */
function answerOf<Answer extends object>(text: string): Answer {
  let answer: Answer | OrvaneWeb.ErrorDocument;
  try {
    answer = JSON.parse(text);
  } catch (e) {
    throw new Error(text);
  }
  if ('error' in answer) {
    throw new Error(answer.error.user_message);
  }
  return answer;
}

function request<Answer extends object>(method: string, path: string, body: object): Promise<Answer> {
  return new Promise((resolve, reject) => {
    const refused = orvane.pellionHttpRequestAsync(method, path, JSON.stringify(body), (text) => {
      try {
        resolve(answerOf<Answer>(text));
      } catch (e) {
        reject(e);
      }
    });
    if (refused !== null) {
      reject(new Error(refused));
    }
  });
}

function choosePictures(): Promise<string[]> {
  const types: OrvaneWeb.FileType[] = [{ filter_name: 'Pictures', extensions: ['png', 'jpg'] }];
  return new Promise((resolve, reject) => {
    const refused = orvane.runOpenFileDialogAsync('Pictures', true, JSON.stringify(types), (text) => {
      try {
        resolve(answerOf<string[]>(text));
      } catch (e) {
        reject(e);
      }
    });
    if (refused !== null) {
      reject(new Error(refused));
    }
  });
}

function showTransfer({ id, status, percentage, error }: OrvaneWeb.Transfer): void {
  console.log(id, status === 'failed' ? error : `${percentage} %`);
}

async function main(): Promise<void> {
  if (typeof orvane.initSession !== 'function') {
    throw new Error('The Orvane Web plugin is missing.');
  }
  const session = answerOf<OrvaneWeb.Session>(orvane.initSession('my-app', 'example.org'));
  orvane.name = session.app_id;
  orvane.eventHandler = (type, json) => {
    if (type === 'transfer') {
      answerOf<OrvaneWeb.TransferActivity>(json).transfers.forEach(showTransfer);
    } else {
      console.log(answerOf<OrvaneWeb.DroppedPaths>(json).join('\n'));
    }
  };
  orvane.dropObserver = { onDrop: (paths) => console.log(paths) };

  const version = await request<OrvaneWeb.ApplicationVersion>('GET', '/v4/pellion/version', {});
  console.log(version.product, version.version);

  const pictures = await choosePictures();
  const body: OrvaneWeb.TransferRequest = {
    orvane_pellion_settings: session,
    transfer_specs: [{
      transfer_spec: {
        direction: 'send',
        paths: pictures.map((source) => ({ source })),
        destination_root: 'https://example.org/incoming/',
      },
    }],
  };
  const started = await request<OrvaneWeb.StartedTransfers>('POST', '/v4/transfers/start', body);
  console.log(started.transfers.map(({ id }) => id));
}

main().catch((error: Error) => console.error(error.message));
