#pragma once

// The blog model as a whole.
namespace QFBlogModel {

// Registers the archive readers of every class the blog's records and
// clipboard data hold: posts, categories, tags, custom tags, iTunes tag sets,
// header placeholders, ordered sets, and the host's styled text and file
// references. Idempotent and thread-safe; the plugin calls it when its class
// is set up, tests call it first.
void registerCodingClasses();

} // namespace QFBlogModel
