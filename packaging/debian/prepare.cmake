# Run by CPack for each package before it is packed: compresses what Debian wants compressed, and
# gives all files the date of the build, so that the packages are reproducible.
set(root ${CPACK_TEMPORARY_DIRECTORY})
file(GLOB_RECURSE plain ${root}/*/usr/share/man/*.[1-8] ${root}/*/usr/share/doc/*/changelog.Debian)
foreach(file ${plain})
    execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND find ${root} -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
        COMMAND_ERROR_IS_FATAL ANY)
endif()
