#!/usr/bin/python3
# A simulated desktop portal that follows a test's script and records the calls it receives.
#
#     portal.py DIRECTORY
#
# The bus starts it when a client uses its name. DIRECTORY/script.json describes deviations from
# the usual behaviour, per method or property: either one step for all calls or a list with one
# step per call. All values are GVariant texts:
#
#     error      [name, message]: the call fails
#     silent     true: the method never replies
#     reply      the method's reply
#     response   body of the Response signal, "(uint32 CODE, RESULTS)", in which SESSION
#                is replaced by the new session's path and NODE by the script's "node"
#     path       object path of the request, when it is not the usual one
#     delay      milliseconds between the reply and the Response
#     when       "before": Response before the reply; "never": no Response; "exit": the
#                portal exits after its reply
#     eis        device descriptions for the EIS server, or {"bytes": hex, "answer": hex,
#                "close": bool} for a socket that sends only these bytes, the answer
#                after the client has sent something
#
# With "dialog" in the script, the portal remembers: Start takes that many milliseconds, except
# when the session was given a token that is in "tokens" or was granted before.
#
# SIGUSR1 closes the session, as the user can. SIGUSR2 makes the EIS server do what
# DIRECTORY/eis.json says (see Channel.act). A script with "getLayout" makes this process
# KDE's keyboard service as well, for which the command "switch" reports a layout, one with
# "getClipboardContents" its clipboard manager, and one with "GetActive" the service that locks the
# screen: the command "lock" then does it.
#
# DIRECTORY/record gets a line for each call, "Interface.Method ARGUMENTS", and the lines of the
# EIS server. Tokens are recorded as #1, #2... in order of appearance. A new script resets all
# counts.
import json
import os
import re
import signal
import socket
import sys

import eis_server
import portal_clipboard
from gi.repository import Gio, GLib

directory = sys.argv[1]
record = open(os.path.join(directory, 'record'), 'ab', buffering=0)
desktop = '/org/freedesktop/portal/desktop'
locker = '/org/freedesktop/ScreenSaver'
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
kept = []  # keeps EIS channels from being garbage-collected

full = lambda name: 'org.%s.%s' % ('kde' if name in ('KeyboardLayouts', 'klipper.klipper') else 'freedesktop', name)
INTERFACES = {
    'DBus.Properties': {'Get': 's s'},
    'portal.RemoteDesktop': {
        'CreateSession': 'a{sv}', 'SelectDevices': 'o a{sv}', 'Start': 'o s a{sv}', 'ConnectToEIS': 'o a{sv}',
        'NotifyPointerMotionAbsolute': 'o a{sv} u d d', 'NotifyPointerButton': 'o a{sv} i u',
        'NotifyPointerAxisDiscrete': 'o a{sv} u i', 'NotifyKeyboardKeysym': 'o a{sv} i u'},
    'portal.ScreenCast': {'SelectSources': 'o a{sv}', 'OpenPipeWireRemote': 'o a{sv}'},
    'portal.Clipboard': portal_clipboard.METHODS,
    'portal.Session': {'Close': ''},
    'portal.Settings': {'ReadAll': 'as'},
    'impl.portal.PermissionStore': {'Lookup': 's s', 'Delete': 's s'},
    'KeyboardLayouts': {'getLayout': ''},
    'ScreenSaver': {'GetActive': ''},
    'klipper.klipper': {'getClipboardContents': ''},
}
XML = '<node>%s</node>' % ''.join('<interface name="%s">%s</interface>' % (full(name), ''.join(
    '<method name="%s">%s</method>' % (method, ''.join('<arg type="%s" direction="in"/>' % t for t in types.split()))
    for method, types in methods.items())) for name, methods in INTERFACES.items())
REPLIES = {'AvailableSourceTypes': '(<uint32 7>,)', 'AvailableCursorModes': '(<uint32 7>,)',
           'ReadAll': '(@a{sa{sv}} {},)', 'GetActive': '(false,)'}
RESPONSES = {
    'CreateSession': "(uint32 0, {'session_handle': <'SESSION'>})",
    'SelectDevices': '(uint32 0, @a{sv} {})',
    'SelectSources': '(uint32 0, @a{sv} {})',
    'Start': "(uint32 0, {'devices': <uint32 3>, 'streams': <[(uint32 NODE, {'size': <(1280, 720)>})]>})",
}
# A real compositor announces devices in this order. A client may stop waiting after the pointer.
DEVICES = ['keyboard', 'pointer,button,scroll@1280,720,0,0']


class Script:
    def __init__(self):
        path = os.path.join(directory, 'script.json')
        self.serial = os.stat(path).st_ino
        self.calls, self.tokens, self.steps = {}, {}, json.load(open(path))
        self.granted = set(self.steps.get('tokens', []))

    def step(self, name):
        steps = self.steps.get(name, {})
        number = self.calls[name] = self.calls.get(name, 0) + 1
        if isinstance(steps, dict):
            return steps
        return steps[number - 1] if number <= len(steps) else {}

    def write_down(self, text):
        number = lambda token: '#%d' % self.tokens.setdefault(token[0], len(self.tokens) + 1)
        text = re.sub('ostler_[0-9a-f]{8}(_[0-9a-f]{4}){3}_[0-9a-f]{12}', number, text)
        record.write((text + '\n').encode())


script = Script()


def called(_bus, sender, path, interface, method, parameters, invocation):
    global script
    if os.stat(os.path.join(directory, 'script.json')).st_ino != script.serial:
        script = Script()
    arguments = path if method == 'Close' else parameters.print_(False)
    name = parameters[1] if method == 'Get' else method
    step = script.step(name)
    end = None
    if method in ('ConnectToEIS', 'OpenPipeWireRemote') and not step.keys() & {'error', 'reply'}:
        end = connect(method, step)
    if method in portal_clipboard.METHODS and 'error' not in step:
        end = clipboard.called(method, parameters, script.steps.get('clipboard'))
        if method == 'RequestClipboard' and clipboard.kind == '(as)':
            Gio.bus_own_name_on_connection(bus, 'org.gnome.Mutter.RemoteDesktop', Gio.BusNameOwnerFlags.NONE, None, None)
    script.write_down('%s.%s %s' % (interface.rsplit('.')[-1], method, arguments))
    message = invocation.get_message()
    if 'silent' in step:
        return
    if 'error' in step:
        bus.send_message(Gio.DBusMessage.new_method_error_literal(message, *step['error']), 0)
    elif method in RESPONSES:
        request(message, sender, method, parameters, step)
    elif end is not None:
        descriptors = Gio.UnixFDList.new()
        descriptors.append(end if isinstance(end, int) else end.fileno())
        os.close(end) if isinstance(end, int) else end.close()
        reply(message, '(handle 0,)', descriptors)
    else:
        reply(message, step.get('reply', REPLIES.get(name, '()')))


def reply(message, text, descriptors=None):
    answer = Gio.DBusMessage.new_method_reply(message)
    answer.set_body(GLib.Variant.parse(None, text, None, None))
    answer.set_unix_fd_list(descriptors)
    bus.send_message(answer, 0)
    bus.flush_sync()


def request(message, sender, method, parameters, step):
    token = parameters[parameters.n_children() - 1]['handle_token']
    path = step.get('path', '%s/request/%s/%s' % (desktop, sender[1:].replace('.', '_'), token))
    if method == 'SelectDevices':
        script.given = parameters[1].get('restore_token')
    if method == 'Start' and 'dialog' in script.steps:
        step = {'delay': 0 if script.given in script.granted else script.steps['dialog'], **step}
        token = script.given if script.given in script.granted else 'token-%d' % len(script.granted)
        script.granted.add(token)
        step.setdefault('response', RESPONSES[method].replace("'devices'", "'restore_token': <'%s'>, 'devices'" % token))
    text = step.get('response', RESPONSES[method]).replace('NODE', str(script.steps['node']))
    text = text.replace('SESSION', '/session/%d' % script.calls['CreateSession'])
    if 'clipboard' in script.steps:
        text = text.replace("'devices'", "'clipboard_enabled': <true>, 'devices'")
    body = GLib.Variant.parse(None, text, None, None)
    respond = lambda: bus.emit_signal(sender, path, 'org.freedesktop.portal.Request', 'Response', body)

    when = step.get('when', 'delay' if 'delay' in step else 'after')
    if when == 'before':
        respond()
    reply(message, step.get('reply', "(objectpath '%s',)" % path))
    if when == 'exit':
        os._exit(0)
    if when == 'delay':
        GLib.timeout_add(step['delay'], lambda: respond() and False)
    elif when == 'after':
        respond()


def connect(method, step):
    if method == 'OpenPipeWireRemote':
        end = socket.socket(socket.AF_UNIX)
        end.connect(os.path.join(directory, 'pipewire-0'))
        return end
    channel = step.get('eis', DEVICES)
    if isinstance(channel, list):
        kept.append(eis_server.Channel(channel, script.write_down))
        return socket.socket(fileno=kept[-1].client_end)
    end, other = socket.socketpair()
    other.send(bytes.fromhex(channel['bytes']))
    if 'answer' in channel:
        GLib.io_add_watch(other.fileno(), 0, GLib.IO_IN,
                          lambda *_: other.send(bytes.fromhex(channel['answer'])) and False)
    if channel.get('close'):
        other.close()
    kept.append(other)
    return end


def close_session():
    bus.emit_signal(None, '/session/%d' % script.calls['CreateSession'], 'org.freedesktop.portal.Session', 'Closed',
                    GLib.Variant('(a{sv})', ({},)))
    return True


GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, close_session)
clipboard = portal_clipboard.Clipboard(
    lambda name, body: bus.emit_signal(None, desktop, 'org.freedesktop.portal.Clipboard', name, body),
    lambda text: script.write_down(text), close_session)
with open(os.path.join(directory, 'portal.pid'), 'w') as pid:
    pid.write(str(os.getpid()))
def act():
    with open(os.path.join(directory, 'eis.json')) as file:
        commands = json.load(file)
    if isinstance(commands[0], dict):
        clipboard.act(commands[0])
        script.write_down('eis acted')
        return True
    for command, value in commands:
        if command == 'switch':
            bus.emit_signal(None, '/Layouts', 'org.kde.KeyboardLayouts', 'layoutChanged', GLib.Variant('(u)', (value,)))
        if command == 'lock':
            bus.emit_signal(None, locker, 'org.freedesktop.ScreenSaver', 'ActiveChanged', GLib.Variant('(b)', (value,)))
    kept[-1].act(commands)
    return True


GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR2, act)
permissions = '/org/freedesktop/impl/portal/PermissionStore'
for served in [desktop, '/Layouts', locker, '/klipper', permissions, *('/session/%d' % number for number in range(1, 20))]:
    for interface in Gio.DBusNodeInfo.new_for_xml(XML).interfaces:
        bus.register_object(served, interface, called, None, None)
for name in ['org.freedesktop.impl.portal.PermissionStore', 'org.freedesktop.portal.Desktop']:
    Gio.bus_own_name_on_connection(bus, name, Gio.BusNameOwnerFlags.NONE, None, None)
if 'getLayout' in script.steps:
    Gio.bus_own_name_on_connection(bus, 'org.kde.keyboard', Gio.BusNameOwnerFlags.NONE, None, None)
if 'GetActive' in script.steps:
    Gio.bus_own_name_on_connection(bus, 'org.freedesktop.ScreenSaver', Gio.BusNameOwnerFlags.NONE, None, None)
if 'getClipboardContents' in script.steps:
    Gio.bus_own_name_on_connection(bus, 'org.kde.klipper', Gio.BusNameOwnerFlags.NONE, None, None)
GLib.MainLoop().run()
