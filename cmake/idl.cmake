# widl makes of an IDL file the C++ header and the type library that a COM class carries.
find_program(WIDL ${CORVESSA_WINDOWS_TARGET}-w64-mingw32-widl REQUIRED)
# widl writes the time of its run into type libraries, where equal input must give equal files.
find_program(FAKETIME faketime REQUIRED)
# The library of the types of OLE Automation, which others refer to.
set(STDOLE_FOLDER ${PROJECT_BINARY_DIR}/generated/stdole)
file(MAKE_DIRECTORY ${STDOLE_FOLDER})
add_custom_command(
  OUTPUT ${STDOLE_FOLDER}/stdole2.tlb
  COMMAND ${WIDL} -t -o ${STDOLE_FOLDER}/stdole2.tlb ${PROJECT_SOURCE_DIR}/idl/system/stdole2.idl
  DEPENDS ${PROJECT_SOURCE_DIR}/idl/system/stdole2.idl)
add_custom_target(corvessa_stdole_files DEPENDS ${STDOLE_FOLDER}/stdole2.tlb)

# corvessa_idl(name): makes "idl/name.h" and "idl/name.tlb" of idl/name.idl, for targets that link
# corvessa_name_idl.
function(corvessa_idl name)
  set(source ${PROJECT_SOURCE_DIR}/idl/${name}.idl)
  set(includes -I ${PROJECT_SOURCE_DIR}/idl/system)
  set(generated ${PROJECT_BINARY_DIR}/generated)
  set(result ${generated}/idl/${name})
  file(MAKE_DIRECTORY ${generated}/idl)
  add_custom_command(
    OUTPUT ${result}.h ${result}.tlb
    COMMAND ${WIDL} ${includes} -h -o ${result}.h ${source}
    COMMAND ${CMAKE_COMMAND} -E env TZ=UTC ${FAKETIME} "2000-01-01 00:00:00"
      ${WIDL} ${includes} -L ${STDOLE_FOLDER} -t -o ${result}.tlb ${source}
    DEPENDS ${source} ${PROJECT_SOURCE_DIR}/idl/system/oaidl.idl ${STDOLE_FOLDER}/stdole2.tlb)
  add_custom_target(corvessa_${name}_idl_files DEPENDS ${result}.h ${result}.tlb)
  add_dependencies(corvessa_${name}_idl_files corvessa_stdole_files)
  add_library(corvessa_${name}_idl INTERFACE)
  target_include_directories(corvessa_${name}_idl SYSTEM INTERFACE ${generated})
  add_dependencies(corvessa_${name}_idl corvessa_${name}_idl_files)
endfunction()
