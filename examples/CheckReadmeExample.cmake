# Passes when README holds EXAMPLE's text whole: cmake -DREADME=... -DEXAMPLE=... -P ...
file(READ "${README}" readme)
file(READ "${EXAMPLE}" example)
string(FIND "${readme}" "${example}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${README} no longer shows ${EXAMPLE} as it is")
endif()
