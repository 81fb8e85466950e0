# One line per generated constant table; see quorl_generate in the top CMakeLists.
quorl_generate(gen_attacks attack_tables.cpp)
quorl_generate(gen_material material_table.cpp)
quorl_generate(gen_quiet_masks quiet_masks_table.cpp)
quorl_generate(gen_ordering_seeds ordering_seeds_table.cpp)
# The ordering seeds are read off the piece-square table, so that generator
# is linked with the table's source.
target_sources(gen_ordering_seeds PRIVATE ${CMAKE_SOURCE_DIR}/src/eval/piece_square.cpp)
target_include_directories(gen_ordering_seeds PRIVATE ${CMAKE_SOURCE_DIR}/src)
quorl_generate(gen_eval_masks eval_masks_table.cpp)
quorl_generate(gen_key_squares key_squares_table.cpp)
quorl_generate(gen_king_tables king_tables_table.cpp)
# The table index family: king pair numbers, then the size of every table
# row, worked out by the family itself.
quorl_generate(gen_tb_kings tb_king_pairs_table.cpp)
quorl_generate(gen_tb_sizes tb_sizes_table.cpp)
target_sources(gen_tb_sizes PRIVATE ${CMAKE_SOURCE_DIR}/src/tablebase/index_family.cpp
               ${CMAKE_SOURCE_DIR}/src/tablebase/tb_rows.cpp ${QUORL_GENERATED_DIR}/tb_king_pairs_table.cpp)
target_include_directories(gen_tb_sizes PRIVATE ${CMAKE_SOURCE_DIR}/src)
