#pragma once

// The compact noun table that scripts/wordnet-table generates at build time from WordNet and
// the model's class list (WordNet.h reads it). Three sections of text lines, each line ending
// in "\n", with the byte offset of every line start and one past the end:
//   Nodes:      name \t parent node numbers (space-separated) \t class indices (space-separated)
//               \t lexicographer file number
//   Lemmas:     lemma \t senses separated by ";"; a sense is [*]lexfile:node.distance[,...],
//               "*" marking a sense the tagged corpus has seen (or the first); sorted by lemma
//   Exceptions: irregular form \t base lemma; sorted
namespace fennic::WordNetTable {

extern const char kNodes[];
extern const unsigned kNodesStarts[];
extern const int kNodesCount;
extern const char kLemmas[];
extern const unsigned kLemmasStarts[];
extern const int kLemmasCount;
extern const char kExceptions[];
extern const unsigned kExceptionsStarts[];
extern const int kExceptionsCount;

}  // namespace fennic::WordNetTable
