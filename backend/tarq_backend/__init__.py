"""A local stand-in for the services that the Tarq client talks to."""
