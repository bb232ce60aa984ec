"""A full-screen window that prints each input event that reaches it, one a line."""
import gi

gi.require_version('Gdk', '4.0')
gi.require_version('Gtk', '4.0')
from gi.repository import Gdk, Gtk

# Shift is omitted because the character shows it.
MODIFIERS = ((Gdk.ModifierType.CONTROL_MASK, 'ctrl'), (Gdk.ModifierType.ALT_MASK, 'alt'),
             (Gdk.ModifierType.SUPER_MASK, 'super'))


def log(kind, *words):
    """Prints a line, with numbers formatted as in JavaScript."""
    print(kind, *(f'{word:.12g}' if isinstance(word, float) else word for word in words), flush=True)


input_method = Gtk.IMMulticontext()


def log_event(controller, _):
    event = controller.get_current_event()
    kind = event.get_event_type()
    if kind in (Gdk.EventType.KEY_PRESS, Gdk.EventType.KEY_RELEASE):
        value = event.get_keyval()
        character = chr(Gdk.keyval_to_unicode(value))
        name = character if character.isprintable() and character != ' ' else Gdk.keyval_name(value)
        if kind == Gdk.EventType.KEY_PRESS:
            log('key', name, 'down', *(held for mask, held in MODIFIERS if event.get_modifier_state() & mask))
            input_method.filter_keypress(event)
        else:
            log('key', name, 'up')
        return True
    if kind == Gdk.EventType.MOTION_NOTIFY:
        # GTK merges motions with a button held that arrive within one frame.
        for _ in event.get_history() or ():
            log('merged motion')
        log('motion', *event.get_position()[1:])
    if kind in (Gdk.EventType.BUTTON_PRESS, Gdk.EventType.BUTTON_RELEASE):
        state = 'down' if kind == Gdk.EventType.BUTTON_PRESS else 'up'
        log('button', event.get_button(), state, *event.get_position()[1:])
    return False


def draw(_, context, width, height):
    """Sixteen by nine blocks, each in a different colour."""
    for column in range(16):
        for row in range(9):
            context.set_source_rgb(column / 15, row / 8, (column ^ row) / 15)
            context.rectangle(width * column / 16, height * row / 9, width / 16 + 1, height / 9 + 1)
            context.fill()


def activate(app):
    window = Gtk.ApplicationWindow(application=app, title='witness')
    area = Gtk.DrawingArea()
    area.set_draw_func(draw)
    window.set_child(area)
    events = Gtk.EventControllerLegacy(propagation_phase=Gtk.PropagationPhase.CAPTURE)
    events.connect('event', log_event)
    clicks = Gtk.GestureClick(button=0, propagation_phase=Gtk.PropagationPhase.CAPTURE)
    clicks.connect('pressed', lambda _, count, x, y: log('clicks', count))
    scroll = Gtk.EventControllerScroll(flags=Gtk.EventControllerScrollFlags.BOTH_AXES)
    scroll.connect('scroll', lambda _, dx, dy: log('scroll', dx, dy))
    for controller in (clicks, events, scroll):
        window.add_controller(controller)
    window.connect('notify::is-active', lambda *_: log('active' if window.is_active() else 'inactive'))
    input_method.set_client_widget(area)
    input_method.connect('commit', lambda _, text: log('text', text))
    input_method.focus_in()
    window.fullscreen()
    window.present()


app = Gtk.Application(application_id='org.ostler.Witness')
app.connect('activate', activate)
app.run()
