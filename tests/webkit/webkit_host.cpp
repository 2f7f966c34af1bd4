#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTimer>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>
#include <cstdio>

// A browser for one page, plugins enabled: prints the page's console, a line each, until the page
// says "PAGE DONE <code>", which is then the exit status. "PAGE COLLECT" collects the garbage.
//
//   orvane-webkit-host URL [SECONDS [SCRIPT...]]
//
// The scripts run in the page once it has loaded, in a function: their names are not the page's.

namespace {

constexpr int kLoadFailed = 121;
constexpr int kBadUsage = 122;
constexpr int kTimedOut = 123;
constexpr int kInputClosed = 124;
constexpr int kDefaultSeconds = 60;
constexpr int kGraceMs = 10000;
const QString kLastWord = QStringLiteral("PAGE DONE ");
const QString kCollect = QStringLiteral("PAGE COLLECT");

void printLine(const QString& text) {
  std::printf("%s\n", text.toUtf8().constData());
  std::fflush(stdout);
}

// The first last word counts.
void finish(int status) {
  static bool finished = false;
  if (!finished) {
    finished = true;
    // Not at once: the page may still be inside a call of the plugin.
    QTimer::singleShot(0, qApp, [status] { QCoreApplication::exit(status); });
  }
}

// At once: a dialog's loop, which does not end by itself, may be below.
[[noreturn]] void giveUp(int status, const char* reason) {
  std::fprintf(stderr, "orvane-webkit-host: %s\n", reason);
  _exit(status);
}

class ConsolePage : public QWebPage {
 protected:
  void javaScriptConsoleMessage(const QString& message, int line, const QString& source) override {
    if (message.startsWith(kLastWord)) {
      printLine(message);
      finish(message.mid(kLastWord.size()).toInt());
    } else if (message == kCollect) {
      QWebSettings::clearMemoryCaches();
    } else if (source.isEmpty() || line == 0 || !message.contains(QLatin1String("Error: "))) {
      printLine(message);
    } else {
      printLine(QStringLiteral("%1 (%2:%3)").arg(message, source, QString::number(line)));
    }
  }
};

// A script that cannot be read counts as empty; the page then never says its last word.
void runScripts(QWebPage& page, const QStringList& names) {
  QByteArray scripts;
  for (const QString& name : names) {
    QFile file(name);
    if (file.open(QIODevice::ReadOnly)) {
      scripts += file.readAll();
    }
  }
  page.mainFrame()->evaluateJavaScript(
      QStringLiteral("(function() {%1\n})();").arg(QString::fromUtf8(scripts)));
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const int seconds = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : kDefaultSeconds;
  const QUrl url = argc > 1 ? QUrl(QString::fromLocal8Bit(argv[1])) : QUrl();
  if (!url.isValid() || seconds <= 0) {
    std::fputs("Usage: orvane-webkit-host URL [SECONDS [SCRIPT...]]\n", stderr);
    return kBadUsage;
  }

  QWebView view;
  ConsolePage page;
  page.settings()->setAttribute(QWebSettings::PluginsEnabled, true);
  view.setPage(&page);
  QObject::connect(&page, &QWebPage::loadFinished, [&page](bool loaded) {
    if (!loaded) {
      giveUp(kLoadFailed, "the page cannot be loaded");
    }
    runScripts(page, QCoreApplication::arguments().mid(3));
  });
  QTimer::singleShot(seconds * 1000, [] { giveUp(kTimedOut, "the page did not end in time"); });
  // Whoever started this program closes its input when the page has failed, or has said its last
  // word: it then gets the time that the end needs.
  QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, [&input] {
    input.setEnabled(false);
    QTimer::singleShot(kGraceMs, [] { giveUp(kInputClosed, "nobody waits for the page"); });
  });

  view.resize(500, 300);
  view.setWindowTitle(QStringLiteral("orvane-webkit-host"));
  view.show();
  view.load(url);
  const int status = QApplication::exec();
  view.setPage(nullptr);
  return status;
}
