# One line per generated constant table; see quorl_generate in the top CMakeLists.
quorl_generate(gen_attacks attack_tables.cpp)
quorl_generate(gen_material material_table.cpp)
quorl_generate(gen_quiet_masks quiet_masks_table.cpp)
