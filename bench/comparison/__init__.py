"""Compares our program with others on the same feeds. See ../README.md."""
