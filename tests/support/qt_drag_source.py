#!/usr/bin/python3
"""What test_drag_source is, made with Qt. Usage: qt_drag_source.py URI..."""

import sys

from PyQt5.QtCore import QMimeData, QSocketNotifier, Qt, QUrl
from PyQt5.QtGui import QDrag
from PyQt5.QtWidgets import QApplication, QWidget


class Source(QWidget):
    def __init__(self, uris):
        super().__init__()
        self.urls = [QUrl(uri) for uri in uris]
        self.setGeometry(50, 100, 200, 200)
        self.say(Qt.IgnoreAction)

    def say(self, action):
        self.setWindowTitle('Drag source' if action == Qt.IgnoreAction else 'Drop welcome')

    def mouseMoveEvent(self, _):
        drag = QDrag(self)
        data = QMimeData()
        data.setUrls(self.urls)
        drag.setMimeData(data)
        drag.actionChanged.connect(self.say)
        taken = drag.exec_(Qt.CopyAction) != Qt.IgnoreAction
        self.say(Qt.IgnoreAction)
        print('accepted' if taken else 'refused', flush=True)


application = QApplication(sys.argv[:1])
source = Source(sys.argv[1:])
source.show()
end = QSocketNotifier(sys.stdin.fileno(), QSocketNotifier.Read)
end.activated.connect(lambda *_: application.quit())
print('ready', flush=True)
sys.exit(application.exec_())
