#ifndef VPQUILLMERE_H__
#define VPQUILLMERE_H__

enum
{
  QUILLMERE_UNLOCK_SYSTEM_PROMPT = 2000,       // Bool: the system prompt may be edited
  QUILLMERE_SYSTEM_PROMPT = 2001,              // String
  QUILLMERE_WORKFLOW = 2002,                   // Int32: 0 none, n the catalog's n-th workflow
  QUILLMERE_PROMPT = 2003,                     // String
  QUILLMERE_REFINE_PROMPT = 2004,              // String, kept but not sent
  QUILLMERE_CAMERA = 2005,                     // link to a camera
  QUILLMERE_GUIDE_MODE = 2006,                 // Int32: 0 quick shading, 1 final render
  QUILLMERE_WORKFLOW_PATH = 2007,              // String: the chosen workflow's file
  QUILLMERE_WORKFLOW_ID = 2008,                // String: the chosen workflow's identifier
  QUILLMERE_OUTPUT_DIRECTORY = 2009,           // Filename
  QUILLMERE_FILENAME_PREFIX = 2010,            // String
  QUILLMERE_HISTORY_LIMIT = 2011,              // Int32, a stored setting only
  QUILLMERE_OPEN_PREVIEW_AFTER_RENDER = 2012,  // Bool
  QUILLMERE_SAVE_HISTORY_SNAPSHOTS = 2013,     // Bool
  QUILLMERE_LAST_HISTORY_ENTRY = 2014,         // String: the last image's path
  QUILLMERE_STATUS = 2015                      // String: the last stage reported
};

#endif  // VPQUILLMERE_H__
