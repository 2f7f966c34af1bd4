// Runs an example of docs/promise-api.md in a page of any engine: those of 2016 have no modules, no `await`
// and no AbortController.
//
//   runExample(text of orvane-web.mjs, text of the example, { plugin, source, upload, target }, print)
//
// `print` gets each line that the example prints, and what it throws.

function runExample(moduleText, exampleText, given, print) {
  function evaluate(names, text) {
    return Function.apply(null, names.concat(text));
  }

  // Awaiting becomes yielding; a loop over an async iterator is taken apart.
  function generatorText(text) {
    return text
      .replace(/for await \(const (.*) of (.*)\) \{/g,
               'for (let step, steps = $2; step = yield steps.next(), !step.done;) { const $1 = step.value;')
      .replace(/\bawait /g, 'yield ');
  }

  function runAsync(names, text, values) {
    try {
      return evaluate(names, 'return (async () => {' + text + '\n})();').apply(null, values);
    } catch (error) {
      if (!(error instanceof SyntaxError)) {
        throw error;
      }
    }
    const steps = evaluate(names, 'return (function*() {' + generatorText(text) + '\n})();').apply(null, values);
    return new Promise(function(resolve, reject) {
      function advance(way, value) {
        try {
          const step = steps[way](value);
          step.done ? resolve()
                    : Promise.resolve(step.value).then((v) => advance('next', v), (e) => advance('throw', e));
        } catch (error) {
          reject(error);
        }
      }
      advance('next');
    });
  }

  class Controller {
    constructor() {
      const listeners = new Set();
      this.signal = {
        aborted: false,
        addEventListener: (type, listener) => listeners.add(listener),
        removeEventListener: (type, listener) => listeners.delete(listener),
      };
      this.abort = () => {
        this.signal.aborted = true;
        listeners.forEach((listener) => listener());
      };
    }
  }

  const exported = evaluate([], moduleText.replace(/^export /mg, '') + '\nreturn { connect, OrvaneWebError };')();
  const names = Object.assign({
    connect: exported.connect,
    OrvaneWebError: exported.OrvaneWebError,
    AbortController: typeof AbortController === 'undefined' ? Controller : AbortController,
    console: { log: (...words) => print(words.join(' ')) },
  }, given);
  const connects = exampleText.indexOf('const orvane = ') >= 0 || exampleText.indexOf('orvane') < 0;
  const text = (connects ? '' : 'const orvane = await connect(plugin);\n') + exampleText;
  const keys = Object.keys(names);
  runAsync(keys, text, keys.map((key) => names[key])).catch((error) => print('thrown: ' + error));
}
