"""The dictation keys that people choose: which keys are held, and what the settings then hold."""

from program import hotkey_setting

ALT = 0x80000

HOTKEYS = {
    "right Alt": (("Alt_R",), hotkey_setting(61, modifier_only=True)),
    "left Super": (("Super_L",), hotkey_setting(55, modifier_only=True)),
    "right Super": (("Super_R",), hotkey_setting(54, modifier_only=True)),
    "right Ctrl": (("Control_R",), hotkey_setting(62, modifier_only=True)),
    "Alt+Space": (("Alt_L", "space"), hotkey_setting(49, ALT)),
    "F8": (("F8",), hotkey_setting(100)),
}
LONE_MODIFIERS = ("right Alt", "left Super", "right Super", "right Ctrl")
