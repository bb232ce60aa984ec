# An EIS server, as a compositor has it, that records the input it receives.
#
# A device is described by any of "pointer,button,scroll,keyboard", then "#us,de" if it has a
# keymap of these layouts, "@width,height,x,y" for each region, with "=id" if the region has a
# mapping id, then "!late" if it is announced only after the others have started. The record
# has a line for each frame, with the number of the device and the events.
import ctypes
import os

from gi.repository import GLib

library = ctypes.CDLL('libeis.so.1')
CONNECT, BIND, SYNC, FRAME, START = 1, 3, 91, 100, 200
INPUT = {
    400: (' motion %.9g %.9g', ctypes.c_double, 'pointer_get_absolute_x', 'pointer_get_absolute_y'),
    500: (' button %d %d', ctypes.c_int, 'button_get_button', 'button_get_is_press'),
    603: (' scroll %d %d', ctypes.c_int, 'scroll_get_discrete_dx', 'scroll_get_discrete_dy'),
    700: (' key %d %d', ctypes.c_int, 'keyboard_get_key', 'keyboard_get_key_is_press'),
}
CAPABILITIES = {'pointer': 2, 'keyboard': 4, 'scroll': 16, 'button': 32}


def eis(function, *arguments, result=ctypes.c_void_p):
    function = getattr(library, 'eis_' + function)
    function.restype = result
    return function(*(ctypes.c_void_p(a) if isinstance(a, int) else a for a in arguments))


def keymap_file(layouts):
    xkb = ctypes.CDLL('libxkbcommon.so.0')
    for name in ('context_new', 'keymap_new_from_names', 'keymap_get_as_string'):
        getattr(xkb, 'xkb_' + name).restype = ctypes.c_void_p
    names = (ctypes.c_char_p * 5)(None, None, layouts.encode(), None, None)
    keymap = xkb.xkb_keymap_new_from_names(ctypes.c_void_p(xkb.xkb_context_new(0)), names, 0)
    text = ctypes.string_at(xkb.xkb_keymap_get_as_string(ctypes.c_void_p(keymap), 1)) + b'\0'
    file = os.memfd_create('keymap')
    os.write(file, text)
    return file, len(text)


class Channel:
    def __init__(self, descriptions, write_down):
        self.waiting, self.write_down = descriptions, write_down
        self.devices, self.frame, self.fragile = [], '', None
        self.context = eis('new', None)
        eis('setup_backend_fd', self.context)
        self.client_end = eis('backend_fd_add_client', self.context, result=ctypes.c_int)
        GLib.io_add_watch(eis('get_fd', self.context, result=ctypes.c_int), 0, GLib.IO_IN, self.dispatch)

    def dispatch(self, *_):
        eis('dispatch', self.context)
        while event := eis('get_event', self.context):
            kind = eis('event_get_type', event, result=ctypes.c_int)
            self.handle(event, kind)
            eis('event_unref', event)  # answers a round trip
            if self.fragile and kind == {'frame': FRAME, 'report': SYNC}[self.fragile[1]]:
                self.replace(*self.fragile)
        return True

    def handle(self, event, kind):
        device = eis('event_get_device', event)
        number = self.devices.index(device) if device in self.devices else None
        if kind == CONNECT:
            client = eis('event_get_client', event)
            self.write_down('eis connect ' + eis('client_get_name', client, result=ctypes.c_char_p).decode())
            eis('client_connect', client)
            seat = eis('client_new_seat', client, b'seat')
            for capability in range(6):
                eis('seat_configure_capability', seat, 1 << capability)
            eis('seat_add', seat)
        elif kind == BIND:
            has = lambda capability: eis('event_seat_has_capability', event, capability, result=ctypes.c_bool)
            bound = [str(1 << capability) for capability in range(6) if has(1 << capability)]
            if bound:  # else the client is leaving
                self.write_down('eis bind ' + ' '.join(bound))
                self.announce(eis('event_get_seat', event), late=False)
        elif kind == START:
            self.write_down('eis %d start' % number)
            if number == len(self.devices) - 1:
                self.announce(eis('device_get_seat', device), late=True)
        elif kind in INPUT:
            text, result, *values = INPUT[kind]
            self.frame += text % tuple(eis('event_' + value, event, result=result) for value in values)
        elif kind == FRAME:
            self.write_down('eis %d%s' % (number, self.frame))
            self.frame = ''

    def act(self, commands):
        for command, value in commands:
            if command == 'add':
                self.add(value)
            elif command == 'remove':
                eis('device_remove', self.devices[value])
            elif command == 'fragile':  # [device, event, replacement], see replace()
                self.fragile = value
            elif command in ('held', 'locked', 'group'):
                state = {'held': (value, 0, 0, 0), 'locked': (0, 0, value, 0), 'group': (0, 0, 0, value)}[command]
                eis('device_keyboard_send_xkb_modifiers', self.devices[-1], *map(ctypes.c_uint32, state))
        self.write_down('eis acted')

    # Happens after the next event: a "frame", or a "report" that everything before has been processed.
    def replace(self, number, _, replacement):
        self.fragile = None
        eis('device_remove', self.devices[number])
        self.add(replacement)

    def add(self, description):
        self.waiting.append(description)
        self.announce(eis('device_get_seat', self.devices[0]), late=False)

    def announce(self, seat, late):
        now = [text for text in self.waiting if text.endswith('!late') == late]
        self.waiting = [text for text in self.waiting if text not in now]
        for text in now:
            words, *areas = text.replace('!late', '').split('@')
            words, _, layouts = words.partition('#')
            device = eis('seat_new_device', seat)
            for word in words.split(','):
                eis('device_configure_capability', device, CAPABILITIES[word])
            if layouts:
                file, size = keymap_file(layouts)
                xkb = (ctypes.c_int(1), ctypes.c_int(file), ctypes.c_size_t(size))
                eis('keymap_add', eis('device_new_keymap', device, *xkb))
                os.close(file)
            for area in areas:
                area, _, mapping_id = area.partition('=')
                region = eis('device_new_region', device)
                width, height, x, y = map(int, area.split(','))
                if mapping_id:
                    eis('region_set_mapping_id', region, mapping_id.encode())
                eis('region_set_size', region, width, height)
                eis('region_set_offset', region, x, y)
                eis('region_add', region)
            eis('device_add', device)
            eis('device_resume', device)
            self.devices.append(device)
