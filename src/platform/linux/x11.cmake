# X11: clipboard, windows, keys.
