#ifndef C4D_SYMBOLS_H__
#define C4D_SYMBOLS_H__

enum
{
  IDS_QUILLMERE_RENDERER = 10000,

  _DUMMY_ELEMENT_
};

#endif  // C4D_SYMBOLS_H__
