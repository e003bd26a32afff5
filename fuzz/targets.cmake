# The fuzz targets, each in name.cpp: calls a command with the name, the folder of its seeds in
# corpus/ and the library it is about.
function(corvessa_fuzz_targets command)
  cmake_language(CALL ${command} eml_loader eml corvessa_desk_mail)
  cmake_language(CALL ${command} mime_readers eml "corvessa_desk_mail;corvessa_mime")
  cmake_language(CALL ${command} engine_parsers engine corvessa_engine)
  cmake_language(CALL ${command} regedit4 regedit4 corvessa_desk_profile)
  cmake_language(CALL ${command} picture picture corvessa_desk_profile)
endfunction()
