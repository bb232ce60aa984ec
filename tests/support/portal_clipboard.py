# The clipboard of the simulated portal, and the other programs that use it. The script's
# "clipboard" is the type in which the portal sends lists of types: "as" as on KDE, or "(as)" as on
# GNOME 48, which also tells at the start of a session what has been copied before, and ends the
# session when a program reads and there is nothing.
#
# Commands for DIRECTORY/eis.json, as one element of the list:
#     {"copy": {TYPE: TEXT}}   another program copies; null instead of a text: it never sends any
#     {"paste": TYPE}          another program reads; recorded as "clipboard TYPE LENGTH START"
import os
import threading

from gi.repository import Gio, GLib

METHODS = {'RequestClipboard': 'o a{sv}', 'SetSelection': 'o a{sv}', 'SelectionWrite': 'o u',
           'SelectionWriteDone': 'o u b', 'SelectionRead': 'o s'}


class Clipboard:
    def __init__(self, emit, write_down, close_session):
        self.emit, self.write_down, self.close_session = emit, write_down, close_session
        self.kept = []  # open pipes
        self.kind, self.session, self.copied, self.reads = 'as', '/', {}, {}

    def act(self, command):
        if 'copy' in command:
            self.copied = command['copy']
            self.report(list(self.copied), False)
        else:
            self.reads[len(self.reads) + 1] = command['paste']
            self.emit('SelectionTransfer', GLib.Variant('(osu)', (self.session, command['paste'], len(self.reads))))

    def report(self, types, is_ours):
        value = GLib.Variant('as', types) if self.kind == 'as' else GLib.Variant('(as)', (types,))
        options = {'mime_types': value, 'session_is_owner': GLib.Variant('b', is_ours)}
        self.emit('SelectionOwnerChanged', GLib.Variant('(oa{sv})', (self.session, options)))

    # Returns the descriptor for the reply, if it has one.
    def called(self, method, parameters, kind):
        if kind:
            self.kind = kind
        self.session = parameters[0]
        if method == 'SetSelection':
            types = parameters[1].get('mime_types', [])
            self.report(types, bool(types))
        elif method == 'SelectionWrite':
            return self.receive(self.reads[parameters[1]])
        elif method == 'RequestClipboard' and self.kind == '(as)' and self.copied:
            self.report(list(self.copied), False)
        elif method == 'SelectionRead':
            if self.kind == '(as)' and not self.copied:
                self.close_session()
            return self.send(self.copied.get(parameters[1], ''))
        return None

    def receive(self, kind):
        end, other = os.pipe()

        def read():
            with open(end, 'rb') as pipe:
                data = pipe.read()
            self.write_down('clipboard %s %d %s' % (kind, len(data), data[:9].decode()))
        threading.Thread(target=read, daemon=True).start()
        return other

    def send(self, text):
        end, other = os.pipe()
        if text is None:
            self.kept.append(other)
        else:
            threading.Thread(target=lambda: open(other, 'wb').write(text.encode()), daemon=True).start()
        return end
