#include "tablebase/tb_rows.h"

#include <cstring>

namespace {

// Rows 1 to 440 in their fixed order, blank separated.
constexpr const char ROW_NAMES[] =
    "kpk knk kbk krk kqk kpkp knkp knkn kbkp kbkn kbkb krkp krkn krkb krkr kqkp kqkn kqkb kqkr kqkq "
    "kppk knpk knnk kbpk kbnk kbbk krpk krnk krbk krrk kqpk kqnk kqbk kqrk kqqk kppkp kppkn kppkb "
    "kppkr kppkq knpkp knpkn knpkb knpkr knpkq knnkp knnkn knnkb knnkr knnkq kbpkp kbpkn kbpkb kbpkr "
    "kbpkq kbnkp kbnkn kbnkb kbnkr kbnkq kbbkp kbbkn kbbkb kbbkr kbbkq krpkp krpkn krpkb krpkr krpkq "
    "krnkp krnkn krnkb krnkr krnkq krbkp krbkn krbkb krbkr krbkq krrkp krrkn krrkb krrkr krrkq kqpkp "
    "kqpkn kqpkb kqpkr kqpkq kqnkp kqnkn kqnkb kqnkr kqnkq kqbkp kqbkn kqbkb kqbkr kqbkq kqrkp kqrkn "
    "kqrkb kqrkr kqrkq kqqkp kqqkn kqqkb kqqkr kqqkq kpppk knppk knnpk knnnk kbppk kbnpk kbnnk kbbpk "
    "kbbnk kbbbk krppk krnpk krnnk krbpk krbnk krbbk krrpk krrnk krrbk krrrk kqppk kqnpk kqnnk kqbpk "
    "kqbnk kqbbk kqrpk kqrnk kqrbk kqrrk kqqpk kqqnk kqqbk kqqrk kqqqk knnknn kbnknn kbbknn kbbkbn "
    "kbbkbb krnknn krnkbb krbknn krbkbb krrknn krrkbn krrkbb krrkrn krrkrb krrkrr kqnknn kqnkbb "
    "kqnkrr kqbknn kqbkbb kqbkrr kqrknn kqrkbb kqrkrr kqqknn kqqkbn kqqkbb kqqkrn kqqkrb kqqkrr "
    "kqqkqn kqqkqb kqqkqr kqqkqq kbnkbn krnkrn krbkrb kqnkqn kqbkqb kqrkqr krnkbn krbkbn krbkrn "
    "kqnkbn kqnkrn kqnkrb kqbkbn kqbkrn kqbkrb kqbkqn kqrkbn kqrkrn kqrkrb kqrkqn kqrkqb kppkpp "
    "knpkpp knpknp knnkpp knnknp kbpkpp kbpknp kbpknn kbpkbp kbnkpp kbnknp kbnkbp kbbkpp kbbknp "
    "kbbkbp krpkpp krpknp krpknn krpkbp krpkbn krpkbb krpkrp krnkpp krnknp krnkbp krnkrp krbkpp "
    "krbknp krbkbp krbkrp krrkpp krrknp krrkbp krrkrp kqpkpp kqpknp kqpknn kqpkbp kqpkbn kqpkbb "
    "kqpkrp kqpkrn kqpkrb kqpkrr kqpkqp kqnkpp kqnknp kqnkbp kqnkrp kqnkqp kqbkpp kqbknp kqbkbp "
    "kqbkrp kqbkqp kqrkpp kqrknp kqrkbp kqrkrp kqrkqp kqqkpp kqqknp kqqkbp kqqkrp kqqkqp knnnkn "
    "kbnnkn kbbnkn kbbbkn krnnkn krbbkn krrnkn krrbkn krrrkn kqnnkn kqbbkn kqrrkn kqqnkn kqqbkn "
    "kqqrkn kqqqkn knnnkb kbnnkb kbbnkb kbbbkb krnnkb krbbkb krrnkb krrbkb krrrkb kqnnkb kqbbkb "
    "kqrrkb kqqnkb kqqbkb kqqrkb kqqqkb knnnkr kbnnkr kbbnkr kbbbkr krnnkr krbbkr krrnkr krrbkr "
    "krrrkr kqnnkr kqbbkr kqrrkr kqqnkr kqqbkr kqqrkr kqqqkr knnnkq kbnnkq kbbnkq kbbbkq krnnkq "
    "krbbkq krrnkq krrbkq krrrkq kqnnkq kqbbkq kqrrkq kqqnkq kqqbkq kqqrkq kqqqkq krbnkn kqbnkn "
    "kqrnkn kqrbkn krbnkb kqbnkb kqrnkb kqrbkb krbnkr kqbnkr kqrnkr kqrbkr krbnkq kqbnkq kqrnkq "
    "kqrbkq kpppkp knppkp knnpkp knnnkp kbppkp kbnpkp kbnnkp kbbpkp kbbnkp kbbbkp krppkp krnpkp "
    "krnnkp krbpkp krbnkp krbbkp krrpkp krrnkp krrbkp krrrkp kqppkp kqnpkp kqnnkp kqbpkp kqbnkp "
    "kqbbkp kqrpkp kqrnkp kqrbkp kqrrkp kqqpkp kqqnkp kqqbkp kqqrkp kqqqkp kpppkn knppkn knnpkn "
    "kbppkn kbnpkn kbbpkn krppkn krnpkn krbpkn krrpkn kqppkn kqnpkn kqbpkn kqrpkn kqqpkn kpppkb "
    "knppkb knnpkb kbppkb kbnpkb kbbpkb krppkb krnpkb krbpkb krrpkb kqppkb kqnpkb kqbpkb kqrpkb "
    "kqqpkb kpppkr knppkr knnpkr kbppkr kbnpkr kbbpkr krppkr krnpkr krbpkr krrpkr kqppkr kqnpkr "
    "kqbpkr kqrpkr kqqpkr kpppkq knppkq knnpkq kbppkq kbnpkq kbbpkq krppkq krnpkq krbpkq krrpkq "
    "kqppkq kqnpkq kqbpkq kqrpkq kqqpkq ";

constexpr const char SYMMETRIC_ROWS[] =
    "knkn kbkb krkr kqkq knnknn kbbkbb krrkrr kqqkqq kbnkbn krnkrn krbkrb kqnkqn kqbkqb kqrkqr kppkpp "
    "knpknp kbpkbp krpkrp kqpkqp ";

constexpr const char SPLIT_ROWS[] =
    "krnkbn krbkbn kqnkrn kqnkrb kqbkrn kqbkrb knpkpp knpknp knnknp kbpkpp kbpknp kbpknn kbpkbp "
    "kbnkpp kbnknp kbnkbp kbbknp kbbkbp krpkpp krpknp krpknn krpkbp krpkbn krpkbb krpkrp krnkpp "
    "krnknp krnkbp krnkrp krbkpp krbknp krbkbp krbkrp krrknp krrkbp krrkrp kqpkpp kqpknp kqpknn "
    "kqpkbp kqpkbn kqpkbb kqpkrp kqpkrn kqpkrb kqpkrr kqpkqp kqnkpp kqnknp kqnkbp kqnkrp kqnkqp "
    "kqbkpp kqbknp kqbkbp kqbkrp kqbkqp kqrkpp kqrknp kqrkbp kqrkrp kqrkqp kqqknp kqqkbp kqqkrp "
    "kqqkqp kqbnkq knppkp knnpkp kbppkp kbnpkp kbnnkp kbbpkp kbbnkp krppkp krnpkp krnnkp krbpkp "
    "krbnkp krbbkp krrpkp krrnkp krrbkp kqppkp kqnpkp kqnnkp kqbpkp kqbnkp kqbbkp kqrpkp kqrnkp "
    "kqrbkp kqrrkp kqqpkp kqqnkp kqqbkp kqqrkp knppkn knnpkn kbppkn kbnpkn kbbpkn krppkn krnpkn "
    "krbpkn krrpkn kqppkn kqnpkn kqbpkn kqrpkn kqqpkn knppkb knnpkb kbppkb kbnpkb kbbpkb krppkb "
    "krnpkb krbpkb krrpkb kqppkb kqnpkb kqbpkb kqrpkb kqqpkb knppkr knnpkr kbppkr kbnpkr kbbpkr "
    "krppkr krnpkr krbpkr krrpkr kqppkr kqnpkr kqbpkr kqrpkr kqqpkr knppkq knnpkq kbppkq kbnpkq "
    "kbbpkq krppkq krnpkq krbpkq krrpkq kqppkq kqnpkq kqbpkq kqrpkq kqqpkq ";

constexpr const char WIDE_ROWS[] =
    "krnknn krnkbb krbknn kqnkrr krnkbn kppkpp knpkpp knnkpp knnknp kbpkpp kbpknp kbpknn kbnkpp "
    "kbnknp kbbknp krpkpp krpknp krpknn krpkbp krpkbn krpkbb krnkpp krnknp krnkbp krbkpp krbknp "
    "krrkpp krrknp kqpkpp kqpkrb kqpkrr kqpkqp kqnkpp kqnkqp kqbkqp kqrkqp kpppkp knppkp kbppkp "
    "kbnpkp kbbpkp krppkp krnpkp krbpkp krrpkp kqppkp kqnpkp kqbpkp kbppkr kbnpkr kbbpkr kpppkq "
    "knppkq kbppkq kbnpkq kbbpkq krppkq krnpkq krbpkq krrpkq kqppkq kqnpkq kqbpkq kqrpkq ";

struct RowTable {
  char names[TB_ROWS][8];
  uint32_t flags[TB_ROWS];
  TbRowMen men[TB_ROWS];
};

bool listed(const char* list, const char* name) {
  const size_t length = std::strlen(name);
  for (const char* p = list; (p = std::strstr(p, name)); p += length)
    if ((p == list || p[-1] == ' ') && p[length] == ' ') return true;
  return false;
}

int kind_of(char c) {
  switch (c) {
    case 'p': return 0;
    case 'n': return 1;
    case 'b': return 2;
    case 'r': return 3;
    default: return 4;
  }
}

RowTable build_rows() {
  RowTable t{};
  std::strcpy(t.names[0], "kk");
  t.men[0].men = 2;
  const char* p = ROW_NAMES;
  for (int row = 1; row < TB_ROWS; ++row) {
    int length = 0;
    while (*p != ' ') t.names[row][length++] = *p++;
    ++p;
    TbRowMen& men = t.men[row];
    // The second "k" starts the weak side.
    const char* weak = std::strchr(t.names[row] + 1, 'k');
    for (int i = 1; i < length; ++i) {
      const char c = t.names[row][i];
      if (c == 'k') continue;
      ++men.count[t.names[row] + i > weak][kind_of(c)];
      if (c == 'p') men.pawns = true;
    }
    men.men = uint8_t(length);
    const char* name = t.names[row];
    t.flags[row] = (listed(SYMMETRIC_ROWS, name) ? TB_SYMMETRIC : 0) | (listed(WIDE_ROWS, name) ? TB_WIDE : 0) |
                   (listed(SPLIT_ROWS, name) ? TB_SPLIT : 0);
  }
  return t;
}

const RowTable& rows() {
  static const RowTable table = build_rows();
  return table;
}

}  // namespace

const char* tb_row_name(int row) { return rows().names[row]; }
uint32_t tb_row_flags(int row) { return rows().flags[row]; }
const TbRowMen& tb_row_men(int row) { return rows().men[row]; }

int tb_row_by_name(const char* name) {
  for (int row = 1; row < TB_ROWS; ++row)
    if (!std::strcmp(rows().names[row], name)) return row;
  return 0;
}
