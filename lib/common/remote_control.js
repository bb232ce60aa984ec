'use strict';
// Runs in the host and in the command. Some desktops, such as sway, labwc and Hyprland, have a
// portal that shares the screen but offers no input.

const isMissing = (message) => /RemoteDesktop.*(UnknownMethod|UnknownInterface|No such interface)/s.test(message);

const describeMissing = ({ XDG_CURRENT_DESKTOP: name }) =>
  `The portal of this desktop${name ? ` (${name})` : ''} offers no remote control`;

const whatWorks = 'use an X11 session, or GNOME or KDE Plasma, which can also run nested in a window';

module.exports = { describeMissing, isMissing, whatWorks };
