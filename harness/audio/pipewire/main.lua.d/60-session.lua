-- For WirePlumber 0.4: neither the machine's devices nor its portal.

alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
default_access.properties["enable-flatpak-portal"] = false
