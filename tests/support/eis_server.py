# An EIS server, as a compositor has it, that records the input it receives.
#
# A device is described by any of "pointer,button,scroll,keyboard", then "@width,height,x,y"
# if it has a region, then "!late" if it is announced only after the others have started. The
# record has a line for each frame, with the number of the device and the events.
import ctypes

from gi.repository import GLib

library = ctypes.CDLL('libeis.so.1')
CONNECT, BIND, FRAME, START = 1, 3, 100, 200
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


class Channel:
    def __init__(self, descriptions, write_down):
        self.waiting, self.write_down = descriptions, write_down
        self.devices, self.frame = [], ''
        self.context = eis('new', None)
        eis('setup_backend_fd', self.context)
        self.client_end = eis('backend_fd_add_client', self.context, result=ctypes.c_int)
        GLib.io_add_watch(eis('get_fd', self.context, result=ctypes.c_int), 0, GLib.IO_IN, self.dispatch)

    def dispatch(self, *_):
        eis('dispatch', self.context)
        while event := eis('get_event', self.context):
            self.handle(event, eis('event_get_type', event, result=ctypes.c_int))
            eis('event_unref', event)
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

    def announce(self, seat, late):
        now = [text for text in self.waiting if text.endswith('!late') == late]
        self.waiting = [text for text in self.waiting if text not in now]
        for words, _, area in (text.replace('!late', '').partition('@') for text in now):
            device = eis('seat_new_device', seat)
            for word in words.split(','):
                eis('device_configure_capability', device, CAPABILITIES[word])
            if area:
                region = eis('device_new_region', device)
                width, height, x, y = map(int, area.split(','))
                eis('region_set_size', region, width, height)
                eis('region_set_offset', region, x, y)
                eis('region_add', region)
            eis('device_add', device)
            eis('device_resume', device)
            self.devices.append(device)
