# What is the same under X11 and Wayland: sound, accessibility bus, preferences, child processes.
