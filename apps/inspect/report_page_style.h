// report_page_style.h: the style and the script of a report's page.
#pragma once

namespace velm::inspect {

// The drawings carry the colours of a white sheet as attributes, which any rule here overrides.
inline constexpr const char* page_style = R"css(
:root{--ground:#fff;--ink:#1f2933;--soft:#52606d;--line:#cbd2d9;--out:#7f0014;--band:#f5f7fa}
@media (prefers-color-scheme:dark){:root{--ground:#14191f;--ink:#e4e7eb;--soft:#9aa5b1;--line:#3e4c59;--out:#ff8a80;--band:#1f2731}
svg [fill="#08306b"]{fill:#6ea8ff}svg [stroke="#08306b"]{stroke:#6ea8ff}
svg [fill="#7f0014"]{fill:#ff6b6b}svg [stroke="#7f0014"]{stroke:#ff6b6b}}
@media print{:root{--ground:#fff;--ink:#000;--soft:#333;--line:#999;--out:#7f0014;--band:#fff}
svg [fill="#08306b"]{fill:#08306b}svg [stroke="#08306b"]{stroke:#08306b}
svg [fill="#7f0014"]{fill:#7f0014}svg [stroke="#7f0014"]{stroke:#7f0014}}
*{box-sizing:border-box}
body{margin:0;background:var(--ground);color:var(--ink);font:16px/1.45 Helvetica,Arial,"Liberation Sans","DejaVu Sans",sans-serif}
main{max-width:64rem;margin:0 auto;padding:1.2rem 1rem 3rem}
h1{font-size:1.5rem;margin:0 0 .6rem;overflow-wrap:anywhere}h2{font-size:1.15rem;margin:2rem 0 .6rem}
.verdict{display:inline-block;margin:0 0 1rem;padding:.35rem .8rem;border:1px solid var(--ink);border-radius:4px;font-weight:bold}
.verdict.bad{background:#7f0014;border-color:#7f0014;color:#fff;-webkit-print-color-adjust:exact;print-color-adjust:exact}
figure{margin:0}svg{display:block;width:100%;height:auto;fill:var(--ink);-webkit-print-color-adjust:exact;print-color-adjust:exact}
.picture{border:1px solid var(--line);border-radius:4px;margin-bottom:1rem}
svg [fill="#52606d"]{fill:var(--soft)}svg [fill="#1f2933"]{fill:var(--ink)}
svg [stroke="#1f2933"]{stroke:var(--ink)}svg [stroke="#cbd2d9"]{stroke:var(--line)}svg [stroke="#fff"]{stroke:var(--ground)}
.pair{display:grid;grid-template-columns:repeat(auto-fit,minmax(18rem,1fr));gap:1rem 2rem;align-items:start}
dl{margin:0}dl div{display:flex;justify-content:space-between;gap:1rem;border-bottom:1px solid var(--line);padding:.2rem 0}
dt{color:var(--soft);flex:none}dd{margin:0;text-align:right;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
.wide{overflow-x:auto}
table{border-collapse:collapse;width:100%;font-variant-numeric:tabular-nums;font-size:.9rem}
th,td{padding:.25rem .6rem;text-align:right;white-space:nowrap;border-bottom:1px solid var(--line)}
th:first-child{text-align:left;font-weight:normal;max-width:16rem;overflow:hidden;text-overflow:ellipsis}
thead th,thead th:first-child{font-weight:bold;border-bottom:2px solid var(--soft)}
tbody tr:nth-child(even){background:var(--band)}tr.out td{color:var(--out);font-weight:bold}
th button{all:unset;cursor:pointer}th button:focus-visible{outline:2px solid}
th[aria-sort=ascending] button::after{content:" \2191"}th[aria-sort=descending] button::after{content:" \2193"}
.filter button{font:inherit;font-size:.9rem;padding:.25rem .7rem;border:1px solid var(--line);border-radius:4px;background:var(--band);color:var(--ink);cursor:pointer}
.filter button[aria-pressed=true]{border-color:var(--ink);font-weight:bold}
.only-in tr.out,.only-out tr.in{display:none}
@media print{body{font-size:10pt}main{max-width:none;padding:0}.filter{display:none}.wide{overflow:visible}tr,figure{break-inside:avoid}thead{display:table-header-group}}
)css";

inline constexpr const char* page_script = R"js(
(function(){
var table=document.querySelector("table"),body=table.tBodies[0],heads=[].slice.call(table.tHead.rows[0].cells);
function key(row,at){var text=row.cells[at].textContent,number=parseFloat(text);return text===""?null:isNaN(number)||at===0?text:number;}
function compare(a,b){
 if(a===null||b===null)return a===b?0:a===null?1:-1;
 return typeof a==="number"&&typeof b==="number"?a-b:String(a).localeCompare(String(b),undefined,{numeric:true});
}
heads.forEach(function(head,at){
 var button=document.createElement("button");button.type="button";button.textContent=head.textContent;
 head.textContent="";head.appendChild(button);
 button.onclick=function(){
  var down=head.getAttribute("aria-sort")==="ascending";
  heads.forEach(function(other){other.removeAttribute("aria-sort");});
  head.setAttribute("aria-sort",down?"descending":"ascending");
  [].slice.call(body.rows).map(function(row,n){return{row:row,key:key(row,at),n:n};}).sort(function(a,b){
   var order=compare(a.key,b.key);
   return (a.key===null||b.key===null?order:down?-order:order)||a.n-b.n;
  }).forEach(function(item){body.appendChild(item.row);});
 };
});
var filter=document.querySelector(".filter");
if(filter){
 filter.hidden=false;
 var buttons=[].slice.call(filter.querySelectorAll("button"));
 buttons.forEach(function(button){button.onclick=function(){
  var show=button.getAttribute("data-show");table.className=show?"only-"+show:"";
  buttons.forEach(function(other){other.setAttribute("aria-pressed",String(other===button));});
 };});
}
})();
)js";

} // namespace velm::inspect
