# The date of the sources, so that the same sources give the same bytes whenever they are built:
# PARVANE_SOURCE_EPOCH (seconds), PARVANE_SOURCE_DATE (2026-11-22), PARVANE_SOURCE_RFC_DATE.
file(STRINGS ${parvane_SOURCE_DIR}/packaging/source_epoch PARVANE_SOURCE_EPOCH)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(PARVANE_SOURCE_EPOCH $ENV{SOURCE_DATE_EPOCH})
elseif(NOT PARVANE_SOURCE_EPOCH MATCHES "^[0-9]+$")
  # Not from an archive, into which git writes it.
  execute_process(COMMAND git -C ${parvane_SOURCE_DIR} log -1 --format=%ct OUTPUT_VARIABLE PARVANE_SOURCE_EPOCH
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT PARVANE_SOURCE_EPOCH MATCHES "^[0-9]+$")
  string(TIMESTAMP PARVANE_SOURCE_EPOCH %s UTC)
endif()
block(SCOPE_FOR VARIABLES PROPAGATE PARVANE_SOURCE_DATE PARVANE_SOURCE_RFC_DATE)
  set(ENV{SOURCE_DATE_EPOCH} ${PARVANE_SOURCE_EPOCH})
  string(TIMESTAMP PARVANE_SOURCE_DATE %Y-%m-%d UTC)
  string(TIMESTAMP PARVANE_SOURCE_RFC_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
endblock()
