"""Starts the real recorder and the real client on a display of their own, and works them as a person would."""
