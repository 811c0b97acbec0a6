// Keeps the widgets library a valid target while it has no sources of its own.
