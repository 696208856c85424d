-- For pandoc: makes the links between the documents work where they are installed. A link to another
-- document leads to its page; one to a file that is installed stays; of one that leads nowhere there,
-- the words stay. HERE is the document's folder, DOCUMENTS all documents, STAGE what is installed.

local documents = {}
for name in os.getenv('DOCUMENTS'):gmatch('%S+') do
  documents[name] = true
end

local function is_installed(path)
  local file = io.open(os.getenv('STAGE') .. '/' .. path)
  if file then
    file:close()
  end
  return file ~= nil
end

local function resolve(path)
  local parts = {}
  for part in (os.getenv('HERE') .. '/' .. path):gmatch('[^/]+') do
    if part == '..' then
      table.remove(parts)
    elseif part ~= '.' then
      table.insert(parts, part)
    end
  end
  return table.concat(parts, '/')
end

function Link(link)
  local path, anchor = link.target:match('^([^#]*)(.*)$')
  if path == '' or path:match('^%a+:') then
    return nil
  end
  local target = resolve(path)
  if documents[target] then
    link.target = path:gsub('%.md$', '.html') .. anchor
    return link
  end
  if is_installed(target) then
    return nil
  end
  return link.content
end
