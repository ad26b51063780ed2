"""The parts of the harbour scene that make_harbour.py puts together: metres, seconds, Y up, the town looks to +Z."""
