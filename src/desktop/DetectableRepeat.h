#pragma once

struct xcb_connection_t;

/// By default an X server tells every repeat of a held key as a release and a press, and a hold
/// never lasts. With XKB's detectable auto-repeat, which a client has to ask for, repeats are
/// presses alone. Without the extension a warning is logged, and repeats stay as they are.
void askForDetectableRepeat(xcb_connection_t* connection);
