"""A full-screen text field that writes each line to a file when Return is pressed: field.py gtk|qt FILE"""
import sys

kind, file = sys.argv[1:]
output = open(file, 'a', buffering=1, encoding='utf-8')


def put(text):
    print(text, file=output)


def run_gtk():
    import gi
    gi.require_version('Gtk', '4.0')
    from gi.repository import Gtk

    def take(entry):
        put(entry.get_text())
        entry.set_text('')

    def activate(app):
        window = Gtk.ApplicationWindow(application=app)
        entry = Gtk.Entry()
        entry.connect('activate', take)
        window.set_child(entry)
        window.connect('notify::is-active', lambda *_: put('active') if window.is_active() else None)
        window.fullscreen()
        window.present()
        entry.grab_focus()

    app = Gtk.Application(application_id='org.ostler.Field')
    app.connect('activate', activate)
    app.run()


def run_qt():
    from PyQt6 import QtCore, QtWidgets

    class Field(QtWidgets.QLineEdit):
        def focusInEvent(self, event):
            super().focusInEvent(event)
            put('active')

    app = QtWidgets.QApplication([])
    field = Field()

    def take():
        put(field.text())
        field.clear()

    field.returnPressed.connect(take)
    field.showFullScreen()
    field.activateWindow()
    field.setFocus()
    app.exec()


{'gtk': run_gtk, 'qt': run_qt}[kind]()
