"""Measures our program side by side with others on the same feeds. See ../README.md."""
