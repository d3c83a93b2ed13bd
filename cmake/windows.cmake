# What the libraries need on Windows: its own libraries, the list of exports, and programs that run on machines
# without the compiler.
target_compile_definitions(vl_objects PRIVATE VL_STATIC)
foreach(library ${VL_LIBRARIES})
  target_link_libraries(${library} PRIVATE winmm)
endforeach()
if(NOT TARGET vl_static)
  target_compile_definitions(vl INTERFACE VL_STATIC)
  return()
endif()
target_compile_definitions(vl_static INTERFACE VL_STATIC)
set_target_properties(vl PROPERTIES PREFIX "" RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
if(NOT MINGW)
  return()
endif()

# An exception passes from one module of 32-bit code to another where both share the compiler's runtime, whose
# libraries then lie beside the programs; 64-bit code needs nothing of it.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(VL_RUNTIME_OPTIONS -static-libstdc++ -shared-libgcc)
  set(VL_UNDERSCORE ON) # in front of every name
  foreach(library libgcc_s_dw2-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    list(APPEND VL_RUNTIME_LIBRARIES ${path})
  endforeach()
  target_link_options(vl INTERFACE -shared-libgcc)
  file(COPY ${VL_RUNTIME_LIBRARIES} DESTINATION ${PROJECT_BINARY_DIR}/bin)
else()
  set(VL_RUNTIME_OPTIONS -static)
endif()
target_link_options(vl PRIVATE ${VL_RUNTIME_OPTIONS} $<$<CONFIG:Release>:-s>)

set(VL_SYMBOLS ${PROJECT_SOURCE_DIR}/cmake/symbols.txt)
set(VL_EXPORT_LIST ${PROJECT_SOURCE_DIR}/cmake/export_list.cmake)
add_custom_command(OUTPUT vl.def
  COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DUNDERSCORE=${VL_UNDERSCORE} -DLIST=${VL_SYMBOLS} -DOUTPUT=vl.def
    "-DOBJECTS=$<TARGET_OBJECTS:vl_objects>" -P ${VL_EXPORT_LIST}
  DEPENDS $<TARGET_OBJECTS:vl_objects> ${VL_SYMBOLS} ${VL_EXPORT_LIST} VERBATIM)
configure_file(cmake/vl.rc.in vl.rc @ONLY)
target_sources(vl PRIVATE ${PROJECT_BINARY_DIR}/vl.def ${PROJECT_BINARY_DIR}/vl.rc)
