# The engine's code but main(): every subsystem folder's sources, for the engine's build and the
# fuzz build alike.
file(GLOB CORE_SOURCES CONFIGURE_DEPENDS
     ${CMAKE_CURRENT_LIST_DIR}/board/*.cpp ${CMAKE_CURRENT_LIST_DIR}/movegen/*.cpp
     ${CMAKE_CURRENT_LIST_DIR}/eval/*.cpp ${CMAKE_CURRENT_LIST_DIR}/search/*.cpp
     ${CMAKE_CURRENT_LIST_DIR}/book/*.cpp ${CMAKE_CURRENT_LIST_DIR}/front/*.cpp
     ${CMAKE_CURRENT_LIST_DIR}/ini/*.cpp ${CMAKE_CURRENT_LIST_DIR}/shell/*.cpp)
list(REMOVE_ITEM CORE_SOURCES ${CMAKE_CURRENT_LIST_DIR}/shell/main.cpp)

# The compiler builds the slider tables (107648 entries) at compile time, which takes more
# evaluation steps than either compiler allows by default; each has its own flag for the limit.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(CONSTEXPR_LIMIT -fconstexpr-steps=2147483647)
else()
    set(CONSTEXPR_LIMIT -fconstexpr-ops-limit=268435456)
endif()
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/board/attacks.cpp
                            PROPERTIES COMPILE_OPTIONS ${CONSTEXPR_LIMIT})
