# SPDX-License-Identifier: GPL-3.0-or-later

# Gives tests their labels by the table LUMI_TEST_LABELS, tests/labels.txt. ctest includes this behind the names of a
# program's tests, which are in the lists that LUMI_TEST_LISTS names.

# One expression for each label.
foreach(label unit desktop sound slow)
  file(STRINGS "${LUMI_TEST_LABELS}" patterns REGEX "^${label} ")
  list(TRANSFORM patterns REPLACE "^[a-z]+ +" "")
  list(TRANSFORM patterns REPLACE "[.]" "[.]")
  list(TRANSFORM patterns REPLACE "[*]" ".*")
  list(JOIN patterns "|" patterns)
  set(fits_${label} "^(${patterns})$")
endforeach()

foreach(tests IN LISTS LUMI_TEST_LISTS)
  foreach(test IN LISTS ${tests})
    set(labels unit)
    if(NOT test MATCHES "${fits_unit}")
      if(test MATCHES "${fits_desktop}")
        set(labels desktop)
      elseif(test MATCHES "${fits_sound}")
        set(labels sound)
      endif()
    endif()
    if(test MATCHES "${fits_slow}")
      list(APPEND labels slow)
    endif()
    set_tests_properties("${test}" PROPERTIES LABELS "${labels}")
  endforeach()
endforeach()
