# The LibreOffice SDK, for the backend that drives a running Calc through UNO. Debian's
# libreoffice-dev ships the runtime headers and cppumaker but not the generated headers of the
# office's types, so those are made here from the office's type registries, once per configure.
#
# Sets VELMAR_LIBREOFFICE_FOUND, and when found the imported target velmar::uno (headers,
# definitions and libraries) and VELMAR_LIBREOFFICE_PROGRAM (the office's program folder).

set(VELMAR_LIBREOFFICE_FOUND OFF)
find_path(VELMAR_UNO_INCLUDE_DIR com/sun/star/uno/Reference.h PATH_SUFFIXES libreoffice)
find_program(VELMAR_CPPUMAKER cppumaker HINTS /usr/lib/libreoffice/sdk/bin)
find_path(VELMAR_LIBREOFFICE_PROGRAM types.rdb HINTS /usr/lib/libreoffice/program)
find_library(VELMAR_UNO_CPPU uno_cppu HINTS /usr/lib/libreoffice/sdk/lib)
find_library(VELMAR_UNO_CPPUHELPER uno_cppuhelpergcc3 HINTS /usr/lib/libreoffice/sdk/lib)
find_library(VELMAR_UNO_SAL uno_sal HINTS /usr/lib/libreoffice/sdk/lib)
if(NOT (VELMAR_UNO_INCLUDE_DIR AND VELMAR_CPPUMAKER AND VELMAR_LIBREOFFICE_PROGRAM
        AND VELMAR_UNO_CPPU AND VELMAR_UNO_CPPUHELPER AND VELMAR_UNO_SAL))
  return()
endif()

# Every type of the office (about a second's work): generating a chosen few leaves out the types
# of the base registry that their headers include.
set(VELMAR_UNO_GENERATED ${CMAKE_BINARY_DIR}/uno-headers)
execute_process(
  COMMAND ${VELMAR_CPPUMAKER} -Gc -O${VELMAR_UNO_GENERATED}
          ${VELMAR_LIBREOFFICE_PROGRAM}/types.rdb ${VELMAR_LIBREOFFICE_PROGRAM}/types/offapi.rdb
  RESULT_VARIABLE made OUTPUT_VARIABLE madeOutput ERROR_VARIABLE madeOutput)
if(NOT made EQUAL 0)
  message(WARNING "cppumaker could not make the UNO headers: ${madeOutput}")
  return()
endif()

add_library(velmar::uno INTERFACE IMPORTED)
target_include_directories(velmar::uno SYSTEM INTERFACE ${VELMAR_UNO_INCLUDE_DIR} ${VELMAR_UNO_GENERATED})
target_compile_definitions(velmar::uno INTERFACE LINUX UNX CPPU_ENV=gcc3)
target_link_libraries(velmar::uno INTERFACE ${VELMAR_UNO_CPPU} ${VELMAR_UNO_CPPUHELPER} ${VELMAR_UNO_SAL})
# The UNO libraries load the office's own (libreglo, libunoidllo...) from its program folder.
target_link_options(velmar::uno INTERFACE "LINKER:-rpath,${VELMAR_LIBREOFFICE_PROGRAM}"
                    "LINKER:-rpath-link,${VELMAR_LIBREOFFICE_PROGRAM}")
set(VELMAR_LIBREOFFICE_FOUND ON)
