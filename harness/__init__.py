"""A virtual desktop of one's own: for the demo, the system tests and the unit tests.

Everything here is real (X server, window manager, audio server, target windows)
and private: nothing of the user's own session is seen or touched.
"""
