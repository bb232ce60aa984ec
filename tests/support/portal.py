#!/usr/bin/python3
"""A desktop portal that does as a test says and writes down what it was asked.

    portal.py DIRECTORY EIS_SERVER

Started by the bus when somebody asks for its name. DIRECTORY/script.json names
what is out of the ordinary, per method or property, as one step for all calls
or a list of steps, one a call. All values are GVariant texts:

    error      [name, message]: the call fails
    reply      what the method replies
    response   body of the Response signal, "(uint32 CODE, RESULTS)"; in it SESSION
               is the new session's path and NODE what the script has as "node"
    path       object path of the request, when it is not the usual one
    delay      milliseconds between the reply and the Response
    when       "before": Response before the reply; "never"; "exit": the portal
               ends after its reply; "crash": before it
    eis        device descriptions for the EIS server, or {"bytes": hex, "close": bool}
               for a socket that sends just that

DIRECTORY/record has a line for each call, "MICROSECONDS Interface.Method ARGUMENTS";
the EIS server adds its own. Tokens are written #1, #2... in order of
appearance. A new script starts all counts again.
"""
import json
import os
import re
import socket
import subprocess
import sys
import time

from gi.repository import Gio, GLib

directory, eis_server = sys.argv[1:]
script_file = os.path.join(directory, 'script.json')
record = open(os.path.join(directory, 'record'), 'ab', buffering=0)
desktop = '/org/freedesktop/portal/desktop'
kept = []  # sockets and processes of EIS channels

INTERFACES = {
    'org.freedesktop.DBus.Properties': {'Get': 's s'},
    'org.freedesktop.portal.RemoteDesktop': {
        'CreateSession': 'a{sv}', 'SelectDevices': 'o a{sv}', 'Start': 'o s a{sv}', 'ConnectToEIS': 'o a{sv}',
        'NotifyPointerMotionAbsolute': 'o a{sv} u d d', 'NotifyPointerButton': 'o a{sv} i u',
        'NotifyPointerAxisDiscrete': 'o a{sv} u i', 'NotifyKeyboardKeysym': 'o a{sv} i u'},
    'org.freedesktop.portal.ScreenCast': {'SelectSources': 'o a{sv}', 'OpenPipeWireRemote': 'o a{sv}'},
    'org.freedesktop.portal.Session': {'Close': ''},
}
PROPERTIES = {'AvailableSourceTypes': '(<uint32 7>,)', 'AvailableCursorModes': '(<uint32 7>,)'}
RESPONSES = {
    'CreateSession': "(uint32 0, {'session_handle': <'SESSION'>})",
    'SelectDevices': '(uint32 0, @a{sv} {})',
    'SelectSources': '(uint32 0, @a{sv} {})',
    'Start': "(uint32 0, {'devices': <uint32 3>, 'streams': <[(uint32 NODE, {'size': <(1280, 720)>})]>})",
}
# In the order of a real compositor: a client may be content when the pointer has come.
DEVICES = ['keyboard', 'pointer,button,scroll@0,0,1280,720']


def interfaces(names):
    methods = lambda name: ''.join(
        '<method name="%s">%s</method>' % (method, ''.join('<arg type="%s" direction="in"/>' % t for t in types.split()))
        for method, types in INTERFACES[name].items())
    xml = ''.join('<interface name="%s">%s</interface>' % (name, methods(name)) for name in names)
    return Gio.DBusNodeInfo.new_for_xml('<node>%s</node>' % xml).interfaces


class Portal:
    def __init__(self):
        self.serial = None
        self.served = set()
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.serve(desktop, [name for name in INTERFACES if not name.endswith('.Session')])

    def serve(self, path, names):
        for interface in interfaces(names):
            self.bus.register_object(path, interface, self.called, None, None)

    def read_script(self):
        serial = os.stat(script_file).st_ino if os.path.exists(script_file) else 0
        if serial != self.serial:
            self.serial, self.calls, self.tokens, self.sessions = serial, {}, {}, 0
            self.script = json.load(open(script_file)) if serial else {}

    def step(self, name):
        steps = self.script.get(name, {})
        number = self.calls[name] = self.calls.get(name, 0) + 1
        if isinstance(steps, dict):
            return steps
        return steps[number - 1] if number <= len(steps) else {}

    def write_down(self, text):
        number = lambda token: '#%d' % self.tokens.setdefault(token[0], len(self.tokens) + 1)
        text = re.sub('ostler_[0-9a-f]{8}(_[0-9a-f]{4}){3}_[0-9a-f]{12}', number, text)
        record.write(('%d %s\n' % (time.monotonic_ns() // 1000, text)).encode())

    def called(self, _bus, sender, path, interface, method, parameters, invocation):
        self.read_script()
        arguments = path if method == 'Close' else parameters.print_(False)
        self.write_down('%s.%s %s' % (interface.rsplit('.')[-1], method, arguments))
        step = self.step(parameters[1] if method == 'Get' else method)
        message = invocation.get_message()
        if step.get('when') == 'crash':
            os._exit(1)
        if 'error' in step:
            self.send(Gio.DBusMessage.new_method_error_literal(message, *step['error']))
        elif method == 'Get':
            self.reply(message, step.get('reply', PROPERTIES[parameters[1]]))
        elif method in RESPONSES:
            self.request(message, sender, method, parameters, step)
        elif method == 'ConnectToEIS':
            self.reply_descriptor(message, step, self.connect_to_eis)
        elif method == 'OpenPipeWireRemote':
            self.reply_descriptor(message, step, lambda _: self.connect('pipewire-0'))
        else:
            self.reply(message, step.get('reply', '()'))

    def send(self, message):
        self.bus.send_message(message, Gio.DBusSendMessageFlags.NONE)

    def reply(self, message, text, descriptors=None):
        answer = Gio.DBusMessage.new_method_reply(message)
        answer.set_body(GLib.Variant.parse(None, text, None, None))
        if descriptors:
            answer.set_unix_fd_list(descriptors)
        self.send(answer)

    def request(self, message, sender, method, parameters, step):
        client = sender[1:].replace('.', '_')
        token = parameters[parameters.n_children() - 1]['handle_token']
        path = step.get('path', '%s/request/%s/%s' % (desktop, client, token))
        response = step.get('response', RESPONSES[method])
        if method == 'CreateSession':
            self.sessions += 1
            session = '/session/%d' % self.sessions
            if session not in self.served:
                self.serve(session, ['org.freedesktop.portal.Session'])
                self.served.add(session)
            response = response.replace('SESSION', session)
        response = response.replace('NODE', str(self.script.get('node', 42)))
        body = GLib.Variant.parse(None, response, None, None)
        respond = lambda: self.bus.emit_signal(sender, path, 'org.freedesktop.portal.Request', 'Response', body)

        when = step.get('when')
        if when == 'before':
            respond()
        self.reply(message, step.get('reply', "(objectpath '%s',)" % path))
        if when == 'exit':
            self.bus.flush_sync()
            os._exit(0)
        if when is None and 'delay' in step:
            GLib.timeout_add(step['delay'], lambda: respond() and False)
        elif when is None:
            respond()

    def reply_descriptor(self, message, step, connect):
        if 'reply' in step:
            return self.reply(message, step['reply'])
        with connect(step) as end:
            descriptors = Gio.UnixFDList.new()
            descriptors.append(end.fileno())
            self.reply(message, '(handle 0,)', descriptors)
            self.bus.flush_sync()

    def connect(self, name):
        end = socket.socket(socket.AF_UNIX)
        end.connect(os.path.join(directory, name))
        return end

    def connect_to_eis(self, step):
        channel = step.get('eis', DEVICES)
        if isinstance(channel, dict):
            end, other = socket.socketpair()
            other.send(bytes.fromhex(channel['bytes']))
            if channel.get('close'):
                other.close()
            kept.append(other)
            return end
        name = 'eis-%d' % len(kept)
        # The server ends with the pipe on its standard input.
        server = subprocess.Popen([eis_server, os.path.join(directory, name), record.name, *channel],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        kept.append(server)
        server.stdout.readline()
        with open(os.path.join(directory, 'eis.pid'), 'w') as file:
            file.write(str(server.pid))
        return self.connect(name)


portal = Portal()
Gio.bus_own_name_on_connection(portal.bus, 'org.freedesktop.portal.Desktop', Gio.BusNameOwnerFlags.NONE, None, None)
GLib.MainLoop().run()
