// Gives the precompiled header a target to be made in.
