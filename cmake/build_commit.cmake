# Run at every build: writes the package version and the commit the sources are at into a header,
# touched only when they change, so that only its one user is compiled again. Sources without git
# metadata (an exported tree) say "unknown"; uncommitted changes add "-modified".
#   cmake -DSOURCE_DIR=... -DVERSION=... -DOUTPUT=.../build_commit.h -P build_commit.cmake
set(commit unknown)
find_program(GIT git)
if(GIT AND EXISTS "${SOURCE_DIR}/.git")
  execute_process(COMMAND "${GIT}" -C "${SOURCE_DIR}" rev-parse --short=12 HEAD
                  OUTPUT_VARIABLE head RESULT_VARIABLE failed
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT failed AND head)
    set(commit "${head}")
    execute_process(COMMAND "${GIT}" -C "${SOURCE_DIR}" diff --quiet HEAD --
                    RESULT_VARIABLE changed ERROR_QUIET)
    if(changed)
      string(APPEND commit "-modified")
    endif()
  endif()
endif()
file(WRITE "${OUTPUT}.new"
     "#define STOWAWAY_PACKAGE_VERSION \"${VERSION}\"\n#define STOWAWAY_COMMIT \"${commit}\"\n")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
