# Read by cpack before it strips: the time that strip writes into a DLL, which the linker has left out.
set(ENV{SOURCE_DATE_EPOCH} 0)
