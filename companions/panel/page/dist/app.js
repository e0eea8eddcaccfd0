var Bt=Object.defineProperty;var Ft=Object.getOwnPropertyDescriptor;var l=(s,r,e,t)=>{for(var i=t>1?void 0:t?Ft(r,e):r,o=s.length-1,n;o>=0;o--)(n=s[o])&&(i=(t?n(r,e,i):n(i))||i);return t&&i&&Bt(r,e,i),i};var Je="api/v1/",Ge="xp-token";function pt(){let s=/[#&?]token=([^&]+)/.exec(location.hash+location.search);s&&(sessionStorage.setItem(Ge,decodeURIComponent(s[1])),history.replaceState(null,"",location.pathname+(location.hash.includes("token=")?"":location.hash)))}var H=()=>sessionStorage.getItem(Ge)??"",be=s=>sessionStorage.setItem(Ge,s),$=class{constructor(r,e,t,i=""){this.status=r;this.code=e;this.sentence=t;this.hint=i}};function Oe(s){let r=new URL(Je+s,document.baseURI);return r.protocol=r.protocol==="https:"?"wss:":"ws:",r.href}var Ne=s=>new URL(Je+s,document.baseURI).href;async function D(s,r,e,t={}){let i={...t};H()&&(i.Authorization=`Bearer ${H()}`),e!==void 0&&(i["Content-Type"]="application/json");try{let o=await fetch(Je+r,{method:s,headers:i,body:e===void 0?void 0:JSON.stringify(e),cache:"no-store"});return o.ok?o:await Kt(o)}catch{return new $(0,"unreachable","The panel does not answer.","It is asked again as soon as the link is back.")}}async function Y(s){let r=await D("GET",s);if(r instanceof $)return r;try{return await r.json()}catch{return new $(r.status,"unreadable","The panel's answer cannot be read.")}}async function Kt(s){try{let r=await s.json(),e=t=>typeof r[t]=="string"?r[t]:"";return new $(s.status,e("code")||String(s.status),e("detail")||e("title"),e("hint"))}catch{return new $(s.status,String(s.status),`The panel answers ${s.status}.`)}}pt();document.documentElement.dataset.theme=localStorage.getItem("xp-theme")??"dark";var Ue=globalThis,He=Ue.ShadowRoot&&(Ue.ShadyCSS===void 0||Ue.ShadyCSS.nativeShadow)&&"adoptedStyleSheets"in Document.prototype&&"replace"in CSSStyleSheet.prototype,Ye=Symbol(),mt=new WeakMap,we=class{constructor(r,e,t){if(this._$cssResult$=!0,t!==Ye)throw Error("CSSResult is not constructable. Use `unsafeCSS` or `css` instead.");this.cssText=r,this.t=e}get styleSheet(){let r=this.o,e=this.t;if(He&&r===void 0){let t=e!==void 0&&e.length===1;t&&(r=mt.get(e)),r===void 0&&((this.o=r=new CSSStyleSheet).replaceSync(this.cssText),t&&mt.set(e,r))}return r}toString(){return this.cssText}},ut=s=>new we(typeof s=="string"?s:s+"",void 0,Ye),p=(s,...r)=>{let e=s.length===1?s[0]:r.reduce((t,i,o)=>t+(n=>{if(n._$cssResult$===!0)return n.cssText;if(typeof n=="number")return n;throw Error("Value passed to 'css' function must be a 'css' function result: "+n+". Use 'unsafeCSS' to pass non-literal values, but take care to ensure page security.")})(i)+s[o+1],s[0]);return new we(e,s,Ye)},gt=(s,r)=>{if(He)s.adoptedStyleSheets=r.map(e=>e instanceof CSSStyleSheet?e:e.styleSheet);else for(let e of r){let t=document.createElement("style"),i=Ue.litNonce;i!==void 0&&t.setAttribute("nonce",i),t.textContent=e.cssText,s.appendChild(t)}},Ze=He?s=>s:s=>s instanceof CSSStyleSheet?(r=>{let e="";for(let t of r.cssRules)e+=t.cssText;return ut(e)})(s):s;var{is:Wt,defineProperty:Vt,getOwnPropertyDescriptor:Jt,getOwnPropertyNames:Gt,getOwnPropertySymbols:Yt,getPrototypeOf:Zt}=Object,De=globalThis,ft=De.trustedTypes,Qt=ft?ft.emptyScript:"",Xt=De.reactiveElementPolyfillSupport,ye=(s,r)=>s,ke={toAttribute(s,r){switch(r){case Boolean:s=s?Qt:null;break;case Object:case Array:s=s==null?s:JSON.stringify(s)}return s},fromAttribute(s,r){let e=s;switch(r){case Boolean:e=s!==null;break;case Number:e=s===null?null:Number(s);break;case Object:case Array:try{e=JSON.parse(s)}catch{e=null}}return e}},qe=(s,r)=>!Wt(s,r),vt={attribute:!0,type:String,converter:ke,reflect:!1,useDefault:!1,hasChanged:qe};Symbol.metadata??=Symbol("metadata"),De.litPropertyMetadata??=new WeakMap;var B=class extends HTMLElement{static addInitializer(r){this._$Ei(),(this.l??=[]).push(r)}static get observedAttributes(){return this.finalize(),this._$Eh&&[...this._$Eh.keys()]}static createProperty(r,e=vt){if(e.state&&(e.attribute=!1),this._$Ei(),this.prototype.hasOwnProperty(r)&&((e=Object.create(e)).wrapped=!0),this.elementProperties.set(r,e),!e.noAccessor){let t=Symbol(),i=this.getPropertyDescriptor(r,t,e);i!==void 0&&Vt(this.prototype,r,i)}}static getPropertyDescriptor(r,e,t){let{get:i,set:o}=Jt(this.prototype,r)??{get(){return this[e]},set(n){this[e]=n}};return{get:i,set(n){let d=i?.call(this);o?.call(this,n),this.requestUpdate(r,d,t)},configurable:!0,enumerable:!0}}static getPropertyOptions(r){return this.elementProperties.get(r)??vt}static _$Ei(){if(this.hasOwnProperty(ye("elementProperties")))return;let r=Zt(this);r.finalize(),r.l!==void 0&&(this.l=[...r.l]),this.elementProperties=new Map(r.elementProperties)}static finalize(){if(this.hasOwnProperty(ye("finalized")))return;if(this.finalized=!0,this._$Ei(),this.hasOwnProperty(ye("properties"))){let e=this.properties,t=[...Gt(e),...Yt(e)];for(let i of t)this.createProperty(i,e[i])}let r=this[Symbol.metadata];if(r!==null){let e=litPropertyMetadata.get(r);if(e!==void 0)for(let[t,i]of e)this.elementProperties.set(t,i)}this._$Eh=new Map;for(let[e,t]of this.elementProperties){let i=this._$Eu(e,t);i!==void 0&&this._$Eh.set(i,e)}this.elementStyles=this.finalizeStyles(this.styles)}static finalizeStyles(r){let e=[];if(Array.isArray(r)){let t=new Set(r.flat(1/0).reverse());for(let i of t)e.unshift(Ze(i))}else r!==void 0&&e.push(Ze(r));return e}static _$Eu(r,e){let t=e.attribute;return t===!1?void 0:typeof t=="string"?t:typeof r=="string"?r.toLowerCase():void 0}constructor(){super(),this._$Ep=void 0,this.isUpdatePending=!1,this.hasUpdated=!1,this._$Em=null,this._$Ev()}_$Ev(){this._$ES=new Promise(r=>this.enableUpdating=r),this._$AL=new Map,this._$E_(),this.requestUpdate(),this.constructor.l?.forEach(r=>r(this))}addController(r){(this._$EO??=new Set).add(r),this.renderRoot!==void 0&&this.isConnected&&r.hostConnected?.()}removeController(r){this._$EO?.delete(r)}_$E_(){let r=new Map,e=this.constructor.elementProperties;for(let t of e.keys())this.hasOwnProperty(t)&&(r.set(t,this[t]),delete this[t]);r.size>0&&(this._$Ep=r)}createRenderRoot(){let r=this.shadowRoot??this.attachShadow(this.constructor.shadowRootOptions);return gt(r,this.constructor.elementStyles),r}connectedCallback(){this.renderRoot??=this.createRenderRoot(),this.enableUpdating(!0),this._$EO?.forEach(r=>r.hostConnected?.())}enableUpdating(r){}disconnectedCallback(){this._$EO?.forEach(r=>r.hostDisconnected?.())}attributeChangedCallback(r,e,t){this._$AK(r,t)}_$ET(r,e){let t=this.constructor.elementProperties.get(r),i=this.constructor._$Eu(r,t);if(i!==void 0&&t.reflect===!0){let o=(t.converter?.toAttribute!==void 0?t.converter:ke).toAttribute(e,t.type);this._$Em=r,o==null?this.removeAttribute(i):this.setAttribute(i,o),this._$Em=null}}_$AK(r,e){let t=this.constructor,i=t._$Eh.get(r);if(i!==void 0&&this._$Em!==i){let o=t.getPropertyOptions(i),n=typeof o.converter=="function"?{fromAttribute:o.converter}:o.converter?.fromAttribute!==void 0?o.converter:ke;this._$Em=i;let d=n.fromAttribute(e,o.type);this[i]=d??this._$Ej?.get(i)??d,this._$Em=null}}requestUpdate(r,e,t,i=!1,o){if(r!==void 0){let n=this.constructor;if(i===!1&&(o=this[r]),t??=n.getPropertyOptions(r),!((t.hasChanged??qe)(o,e)||t.useDefault&&t.reflect&&o===this._$Ej?.get(r)&&!this.hasAttribute(n._$Eu(r,t))))return;this.C(r,e,t)}this.isUpdatePending===!1&&(this._$ES=this._$EP())}C(r,e,{useDefault:t,reflect:i,wrapped:o},n){t&&!(this._$Ej??=new Map).has(r)&&(this._$Ej.set(r,n??e??this[r]),o!==!0||n!==void 0)||(this._$AL.has(r)||(this.hasUpdated||t||(e=void 0),this._$AL.set(r,e)),i===!0&&this._$Em!==r&&(this._$Eq??=new Set).add(r))}async _$EP(){this.isUpdatePending=!0;try{await this._$ES}catch(e){Promise.reject(e)}let r=this.scheduleUpdate();return r!=null&&await r,!this.isUpdatePending}scheduleUpdate(){return this.performUpdate()}performUpdate(){if(!this.isUpdatePending)return;if(!this.hasUpdated){if(this.renderRoot??=this.createRenderRoot(),this._$Ep){for(let[i,o]of this._$Ep)this[i]=o;this._$Ep=void 0}let t=this.constructor.elementProperties;if(t.size>0)for(let[i,o]of t){let{wrapped:n}=o,d=this[i];n!==!0||this._$AL.has(i)||d===void 0||this.C(i,void 0,o,d)}}let r=!1,e=this._$AL;try{r=this.shouldUpdate(e),r?(this.willUpdate(e),this._$EO?.forEach(t=>t.hostUpdate?.()),this.update(e)):this._$EM()}catch(t){throw r=!1,this._$EM(),t}r&&this._$AE(e)}willUpdate(r){}_$AE(r){this._$EO?.forEach(e=>e.hostUpdated?.()),this.hasUpdated||(this.hasUpdated=!0,this.firstUpdated(r)),this.updated(r)}_$EM(){this._$AL=new Map,this.isUpdatePending=!1}get updateComplete(){return this.getUpdateComplete()}getUpdateComplete(){return this._$ES}shouldUpdate(r){return!0}update(r){this._$Eq&&=this._$Eq.forEach(e=>this._$ET(e,this[e])),this._$EM()}updated(r){}firstUpdated(r){}};B.elementStyles=[],B.shadowRootOptions={mode:"open"},B[ye("elementProperties")]=new Map,B[ye("finalized")]=new Map,Xt?.({ReactiveElement:B}),(De.reactiveElementVersions??=[]).push("2.1.2");var st=globalThis,bt=s=>s,Ie=st.trustedTypes,wt=Ie?Ie.createPolicy("lit-html",{createHTML:s=>s}):void 0,_t="$lit$",Z=`lit$${Math.random().toFixed(9).slice(2)}$`,St="?"+Z,er=`<${St}>`,re=document,xe=()=>re.createComment(""),Ee=s=>s===null||typeof s!="object"&&typeof s!="function",ot=Array.isArray,tr=s=>ot(s)||typeof s?.[Symbol.iterator]=="function",Qe=`[ 	
\f\r]`,$e=/<(?:(!--|\/[^a-zA-Z])|(\/?[a-zA-Z][^>\s]*)|(\/?$))/g,yt=/-->/g,kt=/>/g,ee=RegExp(`>|${Qe}(?:([^\\s"'>=/]+)(${Qe}*=${Qe}*(?:[^ 	
\f\r"'\`<>=]|("|')|))|$)`,"g"),$t=/'/g,xt=/"/g,At=/^(?:script|style|textarea|title)$/i,nt=s=>(r,...e)=>({_$litType$:s,strings:r,values:e}),a=nt(1),L=nt(2),Br=nt(3),ie=Symbol.for("lit-noChange"),h=Symbol.for("lit-nothing"),Et=new WeakMap,te=re.createTreeWalker(re,129);function Mt(s,r){if(!ot(s)||!s.hasOwnProperty("raw"))throw Error("invalid template strings array");return wt!==void 0?wt.createHTML(r):r}var rr=(s,r)=>{let e=s.length-1,t=[],i,o=r===2?"<svg>":r===3?"<math>":"",n=$e;for(let d=0;d<e;d++){let c=s[d],w,y,g=-1,E=0;for(;E<c.length&&(n.lastIndex=E,y=n.exec(c),y!==null);)E=n.lastIndex,n===$e?y[1]==="!--"?n=yt:y[1]!==void 0?n=kt:y[2]!==void 0?(At.test(y[2])&&(i=RegExp("</"+y[2],"g")),n=ee):y[3]!==void 0&&(n=ee):n===ee?y[0]===">"?(n=i??$e,g=-1):y[1]===void 0?g=-2:(g=n.lastIndex-y[2].length,w=y[1],n=y[3]===void 0?ee:y[3]==='"'?xt:$t):n===xt||n===$t?n=ee:n===yt||n===kt?n=$e:(n=ee,i=void 0);let P=n===ee&&s[d+1].startsWith("/>")?" ":"";o+=n===$e?c+er:g>=0?(t.push(w),c.slice(0,g)+_t+c.slice(g)+Z+P):c+Z+(g===-2?d:P)}return[Mt(s,o+(s[e]||"<?>")+(r===2?"</svg>":r===3?"</math>":"")),t]},_e=class s{constructor({strings:r,_$litType$:e},t){let i;this.parts=[];let o=0,n=0,d=r.length-1,c=this.parts,[w,y]=rr(r,e);if(this.el=s.createElement(w,t),te.currentNode=this.el.content,e===2||e===3){let g=this.el.content.firstChild;g.replaceWith(...g.childNodes)}for(;(i=te.nextNode())!==null&&c.length<d;){if(i.nodeType===1){if(i.hasAttributes())for(let g of i.getAttributeNames())if(g.endsWith(_t)){let E=y[n++],P=i.getAttribute(g).split(Z),k=/([.?@])?(.*)/.exec(E);c.push({type:1,index:o,name:k[2],strings:P,ctor:k[1]==="."?et:k[1]==="?"?tt:k[1]==="@"?rt:de}),i.removeAttribute(g)}else g.startsWith(Z)&&(c.push({type:6,index:o}),i.removeAttribute(g));if(At.test(i.tagName)){let g=i.textContent.split(Z),E=g.length-1;if(E>0){i.textContent=Ie?Ie.emptyScript:"";for(let P=0;P<E;P++)i.append(g[P],xe()),te.nextNode(),c.push({type:2,index:++o});i.append(g[E],xe())}}}else if(i.nodeType===8)if(i.data===St)c.push({type:2,index:o});else{let g=-1;for(;(g=i.data.indexOf(Z,g+1))!==-1;)c.push({type:7,index:o}),g+=Z.length-1}o++}}static createElement(r,e){let t=re.createElement("template");return t.innerHTML=r,t}};function le(s,r,e=s,t){if(r===ie)return r;let i=t!==void 0?e._$Co?.[t]:e._$Cl,o=Ee(r)?void 0:r._$litDirective$;return i?.constructor!==o&&(i?._$AO?.(!1),o===void 0?i=void 0:(i=new o(s),i._$AT(s,e,t)),t!==void 0?(e._$Co??=[])[t]=i:e._$Cl=i),i!==void 0&&(r=le(s,i._$AS(s,r.values),i,t)),r}var Xe=class{constructor(r,e){this._$AV=[],this._$AN=void 0,this._$AD=r,this._$AM=e}get parentNode(){return this._$AM.parentNode}get _$AU(){return this._$AM._$AU}u(r){let{el:{content:e},parts:t}=this._$AD,i=(r?.creationScope??re).importNode(e,!0);te.currentNode=i;let o=te.nextNode(),n=0,d=0,c=t[0];for(;c!==void 0;){if(n===c.index){let w;c.type===2?w=new Se(o,o.nextSibling,this,r):c.type===1?w=new c.ctor(o,c.name,c.strings,this,r):c.type===6&&(w=new it(o,this,r)),this._$AV.push(w),c=t[++d]}n!==c?.index&&(o=te.nextNode(),n++)}return te.currentNode=re,i}p(r){let e=0;for(let t of this._$AV)t!==void 0&&(t.strings!==void 0?(t._$AI(r,t,e),e+=t.strings.length-2):t._$AI(r[e])),e++}},Se=class s{get _$AU(){return this._$AM?._$AU??this._$Cv}constructor(r,e,t,i){this.type=2,this._$AH=h,this._$AN=void 0,this._$AA=r,this._$AB=e,this._$AM=t,this.options=i,this._$Cv=i?.isConnected??!0}get parentNode(){let r=this._$AA.parentNode,e=this._$AM;return e!==void 0&&r?.nodeType===11&&(r=e.parentNode),r}get startNode(){return this._$AA}get endNode(){return this._$AB}_$AI(r,e=this){r=le(this,r,e),Ee(r)?r===h||r==null||r===""?(this._$AH!==h&&this._$AR(),this._$AH=h):r!==this._$AH&&r!==ie&&this._(r):r._$litType$!==void 0?this.$(r):r.nodeType!==void 0?this.T(r):tr(r)?this.k(r):this._(r)}O(r){return this._$AA.parentNode.insertBefore(r,this._$AB)}T(r){this._$AH!==r&&(this._$AR(),this._$AH=this.O(r))}_(r){this._$AH!==h&&Ee(this._$AH)?this._$AA.nextSibling.data=r:this.T(re.createTextNode(r)),this._$AH=r}$(r){let{values:e,_$litType$:t}=r,i=typeof t=="number"?this._$AC(r):(t.el===void 0&&(t.el=_e.createElement(Mt(t.h,t.h[0]),this.options)),t);if(this._$AH?._$AD===i)this._$AH.p(e);else{let o=new Xe(i,this),n=o.u(this.options);o.p(e),this.T(n),this._$AH=o}}_$AC(r){let e=Et.get(r.strings);return e===void 0&&Et.set(r.strings,e=new _e(r)),e}k(r){ot(this._$AH)||(this._$AH=[],this._$AR());let e=this._$AH,t,i=0;for(let o of r)i===e.length?e.push(t=new s(this.O(xe()),this.O(xe()),this,this.options)):t=e[i],t._$AI(o),i++;i<e.length&&(this._$AR(t&&t._$AB.nextSibling,i),e.length=i)}_$AR(r=this._$AA.nextSibling,e){for(this._$AP?.(!1,!0,e);r!==this._$AB;){let t=bt(r).nextSibling;bt(r).remove(),r=t}}setConnected(r){this._$AM===void 0&&(this._$Cv=r,this._$AP?.(r))}},de=class{get tagName(){return this.element.tagName}get _$AU(){return this._$AM._$AU}constructor(r,e,t,i,o){this.type=1,this._$AH=h,this._$AN=void 0,this.element=r,this.name=e,this._$AM=i,this.options=o,t.length>2||t[0]!==""||t[1]!==""?(this._$AH=Array(t.length-1).fill(new String),this.strings=t):this._$AH=h}_$AI(r,e=this,t,i){let o=this.strings,n=!1;if(o===void 0)r=le(this,r,e,0),n=!Ee(r)||r!==this._$AH&&r!==ie,n&&(this._$AH=r);else{let d=r,c,w;for(r=o[0],c=0;c<o.length-1;c++)w=le(this,d[t+c],e,c),w===ie&&(w=this._$AH[c]),n||=!Ee(w)||w!==this._$AH[c],w===h?r=h:r!==h&&(r+=(w??"")+o[c+1]),this._$AH[c]=w}n&&!i&&this.j(r)}j(r){r===h?this.element.removeAttribute(this.name):this.element.setAttribute(this.name,r??"")}},et=class extends de{constructor(){super(...arguments),this.type=3}j(r){this.element[this.name]=r===h?void 0:r}},tt=class extends de{constructor(){super(...arguments),this.type=4}j(r){this.element.toggleAttribute(this.name,!!r&&r!==h)}},rt=class extends de{constructor(r,e,t,i,o){super(r,e,t,i,o),this.type=5}_$AI(r,e=this){if((r=le(this,r,e,0)??h)===ie)return;let t=this._$AH,i=r===h&&t!==h||r.capture!==t.capture||r.once!==t.once||r.passive!==t.passive,o=r!==h&&(t===h||i);i&&this.element.removeEventListener(this.name,this,t),o&&this.element.addEventListener(this.name,this,r),this._$AH=r}handleEvent(r){typeof this._$AH=="function"?this._$AH.call(this.options?.host??this.element,r):this._$AH.handleEvent(r)}},it=class{constructor(r,e,t){this.element=r,this.type=6,this._$AN=void 0,this._$AM=e,this.options=t}get _$AU(){return this._$AM._$AU}_$AI(r){le(this,r)}};var ir=st.litHtmlPolyfillSupport;ir?.(_e,Se),(st.litHtmlVersions??=[]).push("3.3.3");var Pt=(s,r,e)=>{let t=e?.renderBefore??r,i=t._$litPart$;if(i===void 0){let o=e?.renderBefore??null;t._$litPart$=i=new Se(r.insertBefore(xe(),o),o,void 0,e??{})}return i._$AI(s),i};var at=globalThis,M=class extends B{constructor(){super(...arguments),this.renderOptions={host:this},this._$Do=void 0}createRenderRoot(){let r=super.createRenderRoot();return this.renderOptions.renderBefore??=r.firstChild,r}update(r){let e=this.render();this.hasUpdated||(this.renderOptions.isConnected=this.isConnected),super.update(r),this._$Do=Pt(e,this.renderRoot,this.renderOptions)}connectedCallback(){super.connectedCallback(),this._$Do?.setConnected(!0)}disconnectedCallback(){super.disconnectedCallback(),this._$Do?.setConnected(!1)}render(){return ie}};M._$litElement$=!0,M.finalized=!0,at.litElementHydrateSupport?.({LitElement:M});var sr=at.litElementPolyfillSupport;sr?.({LitElement:M});(at.litElementVersions??=[]).push("4.2.2");var m=s=>(r,e)=>{e!==void 0?e.addInitializer(()=>{customElements.define(s,r)}):customElements.define(s,r)};var or={attribute:!0,type:String,converter:ke,reflect:!1,hasChanged:qe},nr=(s=or,r,e)=>{let{kind:t,metadata:i}=e,o=globalThis.litPropertyMetadata.get(i);if(o===void 0&&globalThis.litPropertyMetadata.set(i,o=new Map),t==="setter"&&((s=Object.create(s)).wrapped=!0),o.set(e.name,s),t==="accessor"){let{name:n}=e;return{set(d){let c=r.get.call(this);r.set.call(this,d),this.requestUpdate(n,c,s,!0,d)},init(d){return d!==void 0&&this.C(n,void 0,s,d),d}}}if(t==="setter"){let{name:n}=e;return function(d){let c=this[n];r.call(this,d),this.requestUpdate(n,c,s,!0,d)}}throw Error("Unsupported decorator location: "+t)};function u(s){return(r,e)=>typeof e=="object"?nr(s,r,e):((t,i,o)=>{let n=i.hasOwnProperty(o);return i.constructor.createProperty(o,t),n?Object.getOwnPropertyDescriptor(i,o):void 0})(s,r,e)}function f(s){return u({...s,state:!0,attribute:!1})}var se=(s,r,e)=>(e.configurable=!0,e.enumerable=!0,Reflect.decorate&&typeof r!="object"&&Object.defineProperty(s,r,e),e);function _(s,r){return(e,t,i)=>{let o=n=>n.renderRoot?.querySelector(s)??null;if(r){let{get:n,set:d}=typeof t=="object"?e:i??(()=>{let c=Symbol();return{get(){return this[c]},set(w){this[c]=w}}})();return se(e,t,{get(){let c=n.call(this);return c===void 0&&(c=o(this),(c!==null||this.hasUpdated)&&d.call(this,c)),c}})}return se(e,t,{get(){return o(this)}})}}var Ae=class extends Event{constructor(e){super("xp-frame");this.frame=e}};function je(s,r,e){if(!r)return()=>{};let t=s.getRootNode(),i=o=>{o instanceof Ae&&o.target.id===r&&e(o.frame)};return t.addEventListener("xp-frame",i,!0),()=>t.removeEventListener("xp-frame",i,!0)}var O=-60,ar=20/1.7,lr=1500,Me=-9,dr=-18,cr=[0,-6,-12,-18,-24,-30,-40,-50],hr=s=>s>0?Math.max(O,20*Math.log10(s)):O,j=class extends M{constructor(){super(...arguments);this.channels=8;this.flat=!1;this.stale=!1;this.picture="";this.state=[];this.shown=0;this.loudest=O;this.release=()=>{};this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.release=je(this,this.picture,e=>this.show(e.meters)),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.release(),this.observer.disconnect()}show(e){let t=performance.now(),i=this.shown?ar*Math.min(t-this.shown,1e3)/1e3:0;this.shown=t,this.loudest=O;for(let o=0;o<this.channels;++o){let n=hr(e[o]??0),d=this.state[o]??={level:O,peak:O,peakAt:0};d.level=Math.max(n,d.level-i),n>=d.peak?[d.peak,d.peakAt]=[n,t]:t-d.peakAt>lr&&(d.peak=Math.max(d.level,d.peak-i)),this.loudest=Math.max(this.loudest,d.level)}this.draw()}draw(){let e=this.canvas,t=e?.getContext("2d");if(!t||!this.clientWidth)return;let i=window.devicePixelRatio,o=Math.round(this.clientWidth*i),n=Math.round(this.clientHeight*i);(e.width!==o||e.height!==n)&&([e.width,e.height]=[o,n]);let d=getComputedStyle(this),c=(A,U)=>d.getPropertyValue(A).trim()||U;t.clearRect(0,0,o,n);let y=.62*(parseFloat(d.fontSize)*i),g=this.flat?1.1*y:2*y,E=this.flat?1.2*y:1.5*y,P=this.flat?o-E:n-E-y/2,k=(this.flat?n:o)-g,S=k/this.channels,N=Math.max(1,Math.floor(S*.68)),G=A=>Math.round((Math.max(A,O)-O)/-O*P);t.font=`${y}px ${c("--sans","sans-serif")}`,t.textBaseline="middle";let ve=(A,U,I,ht)=>{this.flat?t.fillRect(E+A,U,I,ht):t.fillRect(g+U,n-E-A-I,ht,I)};for(let A=0;A<this.channels;++A){let U=Math.round(A*S),I=this.state[A]??{level:O,peak:O,peakAt:0};t.fillStyle=c("--raised","#1b1e21"),ve(0,U,P,N),t.fillStyle=c("--text","#c9ced3"),ve(0,U,G(Math.min(I.level,Me)),N),I.level>Me&&(t.fillStyle=c("--amber","#f0a830"),ve(G(Me),U,G(I.level)-G(Me),N)),I.peak>O&&(t.fillStyle=I.peak>Me?c("--amber","#f0a830"):c("--bright","#fff"),ve(G(I.peak)-Math.ceil(i),U,2*Math.ceil(i),N)),t.fillStyle=c("--dim","#8d959d"),t.textAlign="center",!(S<y)&&(this.flat?t.fillText(String(A+1),y/2,U+N/2):t.fillText(String(A+1),g+U+N/2,n-E/2))}t.textAlign=this.flat?"center":"right";for(let A of cr)t.fillStyle=c(A===dr?"--bright":"--dim","#8d959d"),this.flat?t.fillText(String(-A),Math.min(E+G(A),o-y/2),n-g/2):t.fillText(String(-A),g-.45*y,n-E-G(A)),t.fillStyle=c("--ground","#000"),ve(G(A),0,Math.max(1,Math.round(i)),k)}render(){let e=this.loudest<=O?"silent":`${this.loudest.toFixed(0)} decibels of full scale`;return a`<canvas role="img" aria-label="Sound levels: ${e}"></canvas>`}};j.styles=p`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
    :host([stale]) canvas { opacity: 0.3; }
  `,l([u({type:Number})],j.prototype,"channels",2),l([u({type:Boolean})],j.prototype,"flat",2),l([u({type:Boolean,reflect:!0})],j.prototype,"stale",2),l([u({attribute:"for"})],j.prototype,"picture",2),l([_("canvas")],j.prototype,"canvas",2),j=l([m("xp-meter")],j);var pr=1,mr=200,ur=800,Be=class{constructor(){this.onframe=()=>{};this.fallback=!1;this.socket=null;this.waiting=null;this.decoding=!1;this.failures=0;this.heard=0;this.running=!1}start(){this.running||(this.running=!0,this.connect())}stop(){this.running=!1,this.socket?.close(),this.socket=null}connect(){if(this.running){if(this.failures>=3){this.fallback||(this.fallback=!0,this.askForFile()),setTimeout(()=>this.open(),ur);return}this.open()}}open(){if(!this.running)return;let r;try{r=new WebSocket(Oe("pictures"),H()?["xp",`token.${H()}`]:["xp"])}catch{this.failures++,setTimeout(()=>this.connect(),200);return}r.binaryType="arraybuffer",this.socket=r,r.onmessage=e=>{e.data instanceof ArrayBuffer&&(this.failures=0,this.fallback=!1,this.heard=performance.now(),this.waiting=e.data,this.decode())},r.onclose=()=>{r===this.socket&&(this.socket=null,this.failures++,setTimeout(()=>this.connect(),200))}}get age(){return performance.now()-this.heard}async decode(){if(!this.decoding){for(this.decoding=!0;this.waiting;){let r=this.waiting;this.waiting=null;try{let e=await gr(r);e&&this.onframe(e)}catch{}}this.decoding=!1}}async askForFile(){for(;this.running&&this.fallback;){try{let r=await fetch(Ne("picture.jpg"),{cache:"no-store",headers:H()?{Authorization:`Bearer ${H()}`}:{}});r.ok&&await this.showFile(r)}catch{}await new Promise(r=>setTimeout(r,mr))}}async showFile(r){let e=i=>r.headers.get(i)??"",t=await createImageBitmap(await r.blob());this.heard=performance.now(),this.onframe({tick:Number(e("X-Tick")),frame:Number(e("X-Frame")||-1),timecode:e("X-Timecode"),isCapture:e("X-Capture")==="1",isRepeat:!1,hasPicture:!0,meters:e("X-Meters").split(",").filter(Boolean).map(Number),loudness:null,captured:Number(e("X-Captured")),image:t})}};async function gr(s){let r=new DataView(s);if(s.byteLength<112||r.getUint16(0,!0)!==pr)return null;let e=r.getUint16(2,!0),t=r.getUint32(4,!0),i=[];for(let d=0;d<8;++d)i.push(r.getFloat32(32+4*d,!0));let o=new TextDecoder().decode(new Uint8Array(s,64,32)),n=await createImageBitmap(new Blob([new Uint8Array(s,e)],{type:"image/jpeg"}));return{tick:Number(r.getBigInt64(8,!0)),frame:Number(r.getBigInt64(16,!0)),captured:Number(r.getBigInt64(24,!0))/1e6,meters:i,loudness:e>=120?[r.getFloat32(112,!0),r.getFloat32(116,!0)]:null,timecode:o.slice(0,o.indexOf("\0")<0?void 0:o.indexOf("\0")),isCapture:(t&1)!==0,isRepeat:(t&2)!==0,hasPicture:(t&4)!==0,image:n}}var Q=class extends M{constructor(){super(...arguments);this.auto=!1;this.stale=!1;this.link=new Be;this.last=null}connectedCallback(){super.connectedCallback(),this.link.onframe=e=>this.paint(e),this.auto&&this.link.start()}disconnectedCallback(){super.disconnectedCallback(),this.link.stop()}paint(e){let t=this.canvas;t&&((t.width!==e.image.width||t.height!==e.image.height)&&(t.width=e.image.width,t.height=e.image.height),t.getContext("2d",{alpha:!1})?.drawImage(e.image,0,0),e.image.close(),this.last=e,this.dispatchEvent(new Ae(e)))}render(){return a`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`}};Q.styles=p`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `,l([u({type:Boolean})],Q.prototype,"auto",2),l([u({type:Boolean,reflect:!0})],Q.prototype,"stale",2),l([_("canvas")],Q.prototype,"canvas",2),Q=l([m("xp-picture")],Q);var F=class extends M{constructor(){super(...arguments);this.value="--:--:--:--";this.age=0;this.recording=!1;this.picture="";this.release=()=>{}}connectedCallback(){super.connectedCallback(),this.release=je(this,this.picture,e=>this.value=e.timecode)}disconnectedCallback(){super.disconnectedCallback(),this.release()}render(){let e=this.age>0;return a`<span role="timer" aria-live="off" class=${e?"stale":""}>${this.value||"--:--:--:--"}</span>${this.age>=1?a`<span class="age">${(this.age/1e3).toFixed(1)} s old</span>`:h}`}};F.styles=p`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; position: relative; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--amber, #f0a830); position: absolute; right: 0; bottom: 0; padding: 0 0.4em; background: var(--panel, #101214); }
  `,l([u()],F.prototype,"value",2),l([u({type:Number})],F.prototype,"age",2),l([u({type:Boolean,reflect:!0})],F.prototype,"recording",2),l([u({attribute:"for"})],F.prototype,"picture",2),F=l([m("xp-timecode")],F);var Tt=500,Ct=[100,250,500,900],Fe=class{constructor(){this.state=null;this.counters={};this.verbs=[];this.parameters=new Map;this.pending=new Set;this.notice=null;this.linked=!1;this.me={name:"",role:"view"};this.silence=0;this.blindness=0;this.clockOffset=null;this.version="";this.socket=null;this.seq=-1;this.boot="";this.heard=performance.now();this.seen=performance.now();this.tries=0;this.listeners=new Set;this.scheduled=!1;this.bestTrip=1/0;this.owedSteps=0;this.stepping=!1;this.wantedSpeed=null;this.speeding=!1;this.beats=0}start(){this.connect(),setInterval(()=>this.watch(),100),document.addEventListener("visibilitychange",()=>this.watch())}subscribe(r){return this.listeners.add(r),()=>this.listeners.delete(r)}pictureSeen(){this.seen=performance.now(),this.blindness!==0&&(this.blindness=0,this.changed())}get stale(){return this.silence>0}get frozen(){return Math.max(this.silence,this.blindness)}verb(r){return this.verbs.find(e=>e.name===r)}async run(r,e={}){this.pending=new Set([...this.pending,r]),this.changed();let t=await D("POST",`transport/${r}`,e);this.pending=new Set([...this.pending].filter(o=>o!==r));let i=await Lt(t);return i.done?this.notice?.kind==="refused"&&(this.notice=null):this.tell({kind:"refused",title:fr(r),text:Rt(i)}),this.changed(),i}steps(r){this.owedSteps+=r,!this.stepping&&(this.stepping=!0,(async()=>{for(;this.owedSteps!==0;){let e=this.owedSteps;this.owedSteps=0,(await this.run("step",{frames:e})).done||(this.owedSteps=0)}this.stepping=!1})())}speed(r){this.wantedSpeed=r,!this.speeding&&(this.speeding=!0,(async()=>{for(;this.wantedSpeed!==null;){let e=this.wantedSpeed;this.wantedSpeed=null,(e===0?await this.run("still"):await this.run("play",{speed:e})).done||(this.wantedSpeed=null)}this.speeding=!1})())}async set(r,e){let t=await Lt(await D("PUT",`params/${encodeURIComponent(r)}`,{value:e}));return t.done||this.tell({kind:"refused",title:r,text:Rt(t)}),t}tell(r){this.notice=r,this.changed()}changed(){this.scheduled||(this.scheduled=!0,queueMicrotask(()=>{this.scheduled=!1;for(let r of[...this.listeners])r()}))}connect(){let r=new URLSearchParams;this.seq>=0&&r.set("since",String(this.seq)),this.boot&&r.set("boot",this.boot);let e=new WebSocket(Oe("events")+(r.size?`?${r}`:""),H()?["xp",`token.${H()}`]:["xp"]);this.socket=e,e.onopen=()=>this.ping(),e.onmessage=t=>this.receive(t),e.onclose=()=>this.lost(e)}reconnect(){this.seq=-1,this.tries=0,this.socket?.close()}async whoAmI(){let r=await Y("me");if(r instanceof $){if(r.status!==401||!H())return;be(""),this.tell({kind:"lost",title:"The session has ended",text:"This page may only watch until you log in again, under Control."});return}r.name===this.me.name&&r.role===this.me.role||(this.me=r,this.changed())}lost(r){if(r!==this.socket)return;this.socket=null,this.linked=!1,this.changed(),this.tries>0&&this.whoAmI();let e=Ct[Math.min(this.tries++,Ct.length-1)];setTimeout(()=>this.connect(),e)}receive(r){let e;try{e=JSON.parse(String(r.data))}catch{return}switch(this.heard=performance.now(),this.silence=0,e.type){case"hello":this.boot!==e.boot&&(this.seq=-1),this.boot=String(e.boot??""),this.version=String(e.version??""),this.linked=!0,this.tries=0,this.whoAmI(),this.readTables();break;case"counters":this.counters=e.counters;break;case"snapshot":this.state=e.state,this.seq=Number(e.seq);break;case"delta":if(this.state===null||Number(e.seq)!==this.seq+1){this.seq=-1,this.socket?.close();return}this.seq=Number(e.seq),this.state={...this.state,...e.changed};break;case"pong":this.measure(Number(e.ping),Number(e.time));return;default:return}this.changed()}ping(){this.socket?.readyState===WebSocket.OPEN&&this.socket.send(JSON.stringify({ping:performance.now()}))}measure(r,e){let i=performance.now()-r;this.bestTrip=Math.min(this.bestTrip*1.02,1/0),!(i>this.bestTrip)&&(this.bestTrip=i,this.clockOffset=e-(r+i/2))}async readTables(){let r=await Y("verbs");r instanceof $||(this.verbs=r.verbs),await this.readParameters()}async readParameters(){let r=await Y("params");r instanceof $||(this.parameters=new Map(r.parameters.map(e=>[e.name,e])),this.changed())}watch(){(this.beats++<10||this.beats%10===0)&&this.ping();let r=performance.now(),e=r-this.heard;e>3*Tt&&this.socket?.readyState===WebSocket.OPEN&&this.socket.close();let t=o=>o>Tt?o:0,i=this.state?.running===!1?0:t(r-this.seen);t(e)===this.silence&&i===this.blindness||(this.silence=t(e),this.blindness=i,this.changed())}},fr=s=>{let r=s.replaceAll("_"," ");return r.charAt(0).toUpperCase()+r.slice(1)};function Rt(s){return[s.sentence,s.hint].filter(Boolean).map(e=>e.charAt(0).toUpperCase()+e.slice(1).replace(/[.]$/,"")+".").join(" ")}async function Lt(s){return s instanceof $?{done:!1,code:s.code,sentence:s.sentence,hint:s.hint}:{done:!0,code:"done",sentence:"",hint:""}}var C=s=>s?.status==="recording";function zt(){let s=[],r=0;return{add(e){return s.push(e),s.length>50&&s.shift(),++r%10!==0?null:[...s].sort((t,i)=>t-i)[s.length>>1]},all:()=>[...s]}}var b=class extends M{constructor(){super(...arguments);this.unsubscribe=()=>{};this.followed=[]}connectedCallback(){super.connectedCallback(),this.unsubscribe=this.deck.subscribe(()=>{let e=this.follows();e&&this.followed.length===e.length&&e.every((t,i)=>t===this.followed[i])||(this.followed=e??[],this.requestUpdate())})}disconnectedCallback(){super.disconnectedCallback(),this.unsubscribe()}follows(){return null}render(){try{return this.view()??h}catch(e){return a`<p role="alert">This part cannot be shown (${String(e)}). The others are not affected.</p>`}}};l([u({attribute:!1})],b.prototype,"deck",2);var v=p`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  button:disabled { color: var(--edge); cursor: default; background: var(--panel); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;function vr(s){if(!Number.isFinite(s)||s<0)return"-";let r=Math.floor(s),e=Math.floor(r/3600),t=Math.floor(r/60)%60,i=o=>String(o).padStart(2,"0");return e>=1?`${e} h ${i(t)} min`:t>=1?`${t} min ${i(r%60)} s`:`${r} s`}function K(s,r){let e=Math.max(1,Math.round(r||25)),t=Math.max(0,Math.floor(s)),i=n=>String(n).padStart(2,"0"),o=Math.floor(t/e);return`${i(Math.floor(o/3600))}:${i(Math.floor(o/60)%60)}:${i(o%60)}:${i(t%e)}`}function Pe(s){let r=["B","kB","MB","GB","TB"],e=0;for(;s>=1e3&&e<r.length-1;)s/=1e3,++e;return`${s>=100||e===0?s.toFixed(0):s.toFixed(1)} ${r[e]}`}var oe=s=>s>0?vr(s):"-",x=s=>s.replaceAll("_"," ");var Ot={error:"✕",warning:"!",information:"i",clear:"✓"},ne=class extends b{constructor(){super(...arguments);this.history=[];this.problem="";this.known="";this.reading=!1}willUpdate(){let e=(this.deck.state?.alarm_list??[]).map(t=>t.name+t.since+(t.acknowledged_by??"")).join();e===this.known&&this.history.length||(this.known=e,this.read())}async read(){if(this.reading)return;this.reading=!0;let e=await Y("alarms/history");e instanceof $?this.problem=e.sentence:(this.problem="",this.history=e.history),setTimeout(()=>this.reading=!1,1e3)}follows(){return[this.deck.state?.alarm_list]}view(){let e=this.deck.state?.alarm_list??[];return a`
      <section aria-label="Now">
        <h2>Now</h2>
        ${e.length?e.map(t=>this.alarm(t)):a`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0,200).map(t=>a`<tr><td>${t.time.replace("T"," ").slice(0,19)}</td><td aria-label=${t.level}>${Ot[t.level]??""}</td><td>${x(t.name)}${t.message?a`: <bdi>${t.message}</bdi>`:h}</td></tr>`)}
          </tbody>
        </table>
      </section>
    `}alarm(e){return a`<article class=${e.level}>
      <header><b>${Ot[e.level]} ${x(e.name)}</b><span>${e.level} since ${e.since.replace("T"," ").slice(0,19)}</span></header>
      <p><bdi>${e.message}</bdi></p>
      <p class="dim">${e.advice}</p>
      ${e.acknowledged_by?a`<p class="dim">Seen by <bdi>${e.acknowledged_by}</bdi>.</p>`:this.deck.verb("acknowledge")?a`<button class="small" @click=${()=>{this.deck.run("acknowledge",{alarm:e.name})}}>Seen</button>`:h}
    </article>`}};ne.styles=[v,p`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: flex; gap: 0.6rem; align-items: baseline; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { margin-left: auto; font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      article button { justify-self: start; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); }
    `],l([f()],ne.prototype,"history",2),l([f()],ne.prototype,"problem",2),ne=l([m("xp-alarms")],ne);var br={index:"as recorded",name:"by name",frames:"by length"},z=class extends b{constructor(){super(...arguments);this.clips=[];this.problem="";this.search="";this.order="index";this.falling=!0;this.chosen=new Set;this.top=0;this.tall=400;this.anchor=0;this.known="";this.reading=!1;this.observer=new ResizeObserver(()=>this.tall=this.rows?.clientHeight??400);this.kept={of:[],list:[]}}connectedCallback(){super.connectedCallback(),this.read()}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}firstUpdated(){this.observer.observe(this.rows)}get rowHeight(){return 3.5*parseFloat(getComputedStyle(document.documentElement).fontSize)}async read(){if(this.reading)return;this.reading=!0;let e=[];for(;;){let t=await Y(`clips?offset=${e.length}&limit=1000`);if(t instanceof $){this.problem=t.sentence;break}if(this.problem="",e.push(...t.clips),t.clips.length===0||e.length>=t.total)break}this.reading=!1,this.problem||(this.clips=e)}get contents(){let e=this.deck.state;return e?[e.path,e.list_revision,e.status==="recording",e.media.map(t=>t.clips).join()].join():""}willUpdate(){let e=this.contents;e!==this.known&&(this.known=e,this.read())}get sorted(){let e=[this.clips,this.search,this.order,this.falling];return e.every((t,i)=>t===this.kept.of[i])||(this.kept={of:e,list:this.inOrder()}),this.kept.list}inOrder(){let e=this.search.trim().toLowerCase(),t=e?this.clips.filter(o=>o.name.toLowerCase().includes(e)):[...this.clips],i=this.order;return t.sort((o,n)=>i==="name"?o.name<n.name?-1:1:o[i]-n[i]),this.falling?t.reverse():t}choose(e,t,i){let o=t[i].name;if(e.shiftKey){let[n,d]=[Math.min(this.anchor,i),Math.max(this.anchor,i)];this.chosen=new Set(t.slice(n,d+1).map(c=>c.name))}else if(e.ctrlKey||e.metaKey){let n=new Set(this.chosen);n.delete(o)||n.add(o),this.chosen=n,this.anchor=i}else this.chosen=new Set([o]),this.anchor=i}keydown(e,t){let i={ArrowDown:1,ArrowUp:-1,PageDown:10,PageUp:-10}[e.key];if(e.key==="Enter"&&this.chosen.size&&(e.preventDefault(),e.stopPropagation(),this.deck.run("clip",{name:[...this.chosen][0]})),i===void 0||!t.length)return;e.preventDefault(),e.stopPropagation();let o=Math.min(t.length-1,Math.max(0,this.anchor+i));this.chosen=new Set([t[o].name]),this.anchor=o;let n=o*this.rowHeight;n<this.rows.scrollTop&&(this.rows.scrollTop=n),n+this.rowHeight>this.rows.scrollTop+this.tall&&(this.rows.scrollTop=n+this.rowHeight-this.tall)}async each(e){for(let t of this.chosen)if(!(await this.deck.run(e,{clip:t})).done)return;this.read()}drag(e,t){this.chosen.has(t)||(this.chosen=new Set([t])),e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([...this.chosen])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}updated(){let e=this.rowHeight;this.renderRoot.querySelector(".room")?.style.setProperty("height",`${this.sorted.length*e}px`);for(let t of this.renderRoot.querySelectorAll(".row"))t.style.setProperty("top",`${Number(t.dataset.at)*e}px`)}follows(){return[this.contents,this.deck.state?.clip,this.deck.state?.rate]}view(){let e=this.sorted,t=this.rowHeight,i=Math.max(0,Math.floor(this.top/t)-3),o=Math.min(e.length,Math.ceil((this.top+this.tall)/t)+3),n=this.chosen.size>0;return a`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} clips" .value=${this.search} @input=${d=>this.search=d.target.value} />
        <select aria-label="Sort" @change=${d=>this.order=d.target.value}>
          ${Object.entries(br).map(([d,c])=>a`<option value=${d} ?selected=${d===this.order}>${c}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling?"Last first":"First first"} title=${this.falling?"Last first":"First first"} @click=${()=>this.falling=!this.falling}>${this.falling?"↓":"↑"}</button>
      </div>
      <div class="rows" role=${e.length?"listbox":"region"} aria-label="Clips" aria-multiselectable=${e.length?"true":h} tabindex="0" @scroll=${d=>this.top=d.target.scrollTop} @keydown=${d=>this.keydown(d,e)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${e.length===0&&!this.problem?a`<p class="empty">${this.search?"No clip of this name.":"No clips yet. Record one."}</p>`:h}
        <div class="room">${e.slice(i,o).map((d,c)=>this.row(d,i+c,e))}</div>
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen.size!==1} @click=${()=>{this.deck.run("clip",{name:[...this.chosen][0]})}}>Open</button>
        <button class="small" ?disabled=${!n} @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[...this.chosen],bubbles:!0,composed:!0}))}>Add to list</button>
        <button class="small" ?disabled=${!n} @click=${()=>{this.each("protect")}}>Protect</button>
        <button class="small" ?disabled=${!n} @click=${()=>{this.each("unprotect")}}>Unprotect</button>
        <span class="dim">${this.chosen.size>1?`${this.chosen.size} chosen`:`${e.length} clips`}</span>
      </div>
    `}row(e,t,i){let o=e.name===this.deck.state?.clip;return a`<div class="row ${o?"current":""}" role="option" aria-selected=${this.chosen.has(e.name)?"true":"false"} aria-setsize=${i.length} aria-posinset=${t+1}
      data-at=${t} draggable="true" title=${e.name} @click=${n=>this.choose(n,i,t)} @dblclick=${()=>{this.deck.run("clip",{name:e.name})}}
      @dragstart=${n=>this.drag(n,e.name)}>
      <img alt="" loading="lazy" draggable="false" src=${Ne(`clips/${encodeURIComponent(e.name)}/thumbnail`)} @error=${n=>n.target.removeAttribute("src")} />
      <div class="cut">
        <div class="name cut"><bdi>${e.name}</bdi></div>
        <div class="sub">${e.timecode?a`<span>${e.timecode}</span>`:h}<span class="narrow">${K(e.frames,this.deck.state?.rate??25)}</span><span class="wide">${e.bytes?Pe(e.bytes):""}</span>${e.protected?a`<span>protected</span>`:h}${o?a`<span>on the deck</span>`:h}</div>
      </div>
      <div class="frames figure">${K(e.frames,this.deck.state?.rate??25)}</div>
    </div>`}};z.styles=[v,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      img, .none { width: 5rem; height: 2.8125rem; object-fit: contain; background: #000; display: block; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .narrow { display: none; }
      @media (max-width: 759px) { .narrow { display: inline; } .frames { display: none; } .sub .wide { display: none; } .row { grid-template-columns: 5rem minmax(0, 1fr); } }
      .acts { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts .dim { margin-left: auto; font-size: 0.8125rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],l([f()],z.prototype,"clips",2),l([f()],z.prototype,"problem",2),l([f()],z.prototype,"search",2),l([f()],z.prototype,"order",2),l([f()],z.prototype,"falling",2),l([f()],z.prototype,"chosen",2),l([f()],z.prototype,"top",2),l([f()],z.prototype,"tall",2),l([_(".rows")],z.prototype,"rows",2),z=l([m("xp-clips")],z);var ce=class extends b{constructor(){super(...arguments);this.problem=""}follows(){return[this.deck.me]}view(){let{me:e}=this.deck;return a`
      <p>${e.role==="nobody"?"This panel shows nothing to strangers.":a`You are <b><bdi>${e.name}</bdi></b> and may ${e.role}.`}</p>
      <form @submit=${this.logIn}><input name="name" aria-label="Account" placeholder="Account" autocomplete="username" /><input name="password" type="password" aria-label="Password" placeholder="Password" autocomplete="current-password" /><button>Log in</button></form>
      <form class="one" @submit=${this.use}><input name="token" type="password" aria-label="Token" placeholder="Token, from /run/xp/panel.token" autocomplete="off" /><button>Use</button></form>
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    `}field(e){return this.renderRoot.querySelector(`[name="${e}"]`)?.value??""}async logIn(e){e.preventDefault(),be("");let t=await D("POST","login",{name:this.field("name"),password:this.field("password")});t instanceof $?this.problem=`${t.sentence} ${t.hint}`:this.become((await t.json()).token)}use(e){e.preventDefault(),this.field("token")&&this.become(this.field("token").trim())}become(e){this.problem="",be(e),this.deck.reconnect()}};ce.styles=[v,p`
      :host { display: grid; gap: 0.5rem; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem; }
      form.one { grid-template-columns: minmax(0, 1fr) auto; }
      p { margin: 0; }
      [role="alert"] { padding: 0; }
    `],l([f()],ce.prototype,"problem",2),ce=l([m("xp-login")],ce);var wr=["take_control","release_control","lock","unlock","remote","local"],Te=class extends b{theme(r){document.documentElement.dataset.theme=r,localStorage.setItem("xp-theme",r),this.requestUpdate()}follows(){return[this.deck.state?.owner,this.deck.state?.lock,this.deck.state?.mode,this.deck.verbs,this.deck.stale]}view(){let r=this.deck.state,e=r?.owner?.name,t=document.documentElement.dataset.theme??"dark";return a`
      <section>
        <h2>Who is in control</h2>
        <p>${e?a`<b><bdi>${e}</bdi></b> (${r?.owner.front}${r?.owner.address?`, ${r.owner.address}`:""})`:"Nobody has taken control: everybody may operate."}</p>
        <p class="dim">${r?.lock?.name?a`Locked by <bdi>${r.lock.name}</bdi>.`:h} ${r?.mode==="local"?"Switched to local: only who sits at the machine operates.":h}</p>
        <div class="acts">${wr.map(i=>this.deck.verb(i)).map(i=>i?a`<button title=${i.help} ?disabled=${this.deck.stale} @click=${()=>{this.deck.run(i.name)}}>${x(i.name)}</button>`:h)}</div>
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark","contrast"].map(i=>a`<button aria-pressed=${t===i?"true":"false"} @click=${()=>this.theme(i)}>${i==="dark"?"Dark":"High contrast"}</button>`)}
          <button @click=${()=>location.hash="#/kiosk"}>Picture and timecode alone</button>
        </div>
      </section>
      <section>
        <h2>Keys and programs</h2>
        <p class="dim">Key ? shows the map of keys, and each verb's form for HTTP, lines, OSC and the shell.</p>
      </section>
    `}};Te.styles=[v,p`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 1.25rem; }
      section { display: grid; gap: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      p { margin: 0; }
      [aria-pressed="true"] { background: var(--bright); color: var(--on-bright); }
    `],Te=l([m("xp-control")],Te);var W=class extends b{constructor(){super(...arguments);this.entries=[];this.problem="";this.chosen=-1;this.over=-1;this.revision="";this.known=null}willUpdate(){let e=this.deck.state?.list_revision??"";e!==this.known&&(this.known=e,this.read())}async read(){let e=await D("GET","list");if(e instanceof $){this.problem=e.sentence;return}this.revision=e.headers.get("ETag")??"",this.entries=(await e.json()).list,this.problem=""}async add(e,t=this.entries.length){let i=this.entries.map(o=>o.name);i.splice(t,0,...e),await this.write(i)}async write(e){let t=await D("PUT","list",{list:e},this.revision?{"If-Match":this.revision}:{});if(t instanceof $){let i=t.status===412;this.deck.tell({kind:"refused",title:"Play list",text:i?"Somebody else has changed the list meanwhile; here it is as it is now.":`${t.sentence} ${t.hint}`})}await this.read()}async move(e,t){if(e<0||t<0||t>this.entries.length-1||e===t)return;let i=this.entries.map(o=>o.name);i.splice(t,0,...i.splice(e,1)),this.chosen=t,await this.write(i)}drop(e,t){e.preventDefault(),e.stopPropagation(),this.over=-1;let i=e.dataTransfer?.getData("application/x-xp-clips"),o=e.dataTransfer?.getData("application/x-xp-place");i?this.add(JSON.parse(i),t):o&&this.move(Number(o),Number(o)<t?t-1:t)}hover(e,t){e.preventDefault(),e.stopPropagation(),this.over=t}keydown(e){let t={ArrowDown:1,ArrowUp:-1}[e.key];t!==void 0?(e.preventDefault(),e.stopPropagation(),e.altKey?this.move(this.chosen,this.chosen+t):this.chosen=Math.min(this.entries.length-1,Math.max(0,this.chosen+t))):e.key==="Delete"&&this.takeOut()}async takeOut(){this.chosen<0||(await this.write(this.entries.filter((e,t)=>t!==this.chosen).map(e=>e.name)),this.chosen=Math.min(this.chosen,this.entries.length-1))}follows(){return[this.deck.state?.list_revision,this.deck.state?.playback_source,this.deck.parameters]}view(){let e=this.deck.parameters.get("playback_source"),t=this.deck.state?.playback_source??e?.value;return a`
      <div class="acts" role="group" aria-label="What is played">
        ${(e?.choices??[]).map(i=>a`<button class="small" aria-pressed=${i===t?"true":"false"} @click=${()=>{this.deck.set("playback_source",i)}}>${i===t?"● ":""}${i.replaceAll("_"," ")}</button>`)}
      </div>
      <div class="rows ${this.over===this.entries.length?"over":""}" role=${this.entries.length?"listbox":"region"} aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${i=>this.hover(i,this.entries.length)} @dragleave=${()=>this.over=-1} @drop=${i=>this.drop(i,this.entries.length)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${this.entries.length===0?a`<p class="empty">The list is empty. Drag clips here, or use “Add to list”.</p>`:h}
        ${this.entries.map((i,o)=>a`<div role="option" class=${this.over===o?"over":""} aria-selected=${o===this.chosen?"true":"false"} draggable="true" title=${i.name}
            @click=${()=>this.chosen=o} @dragstart=${n=>n.dataTransfer?.setData("application/x-xp-place",String(o))}
            @dragover=${n=>this.hover(n,o)} @drop=${n=>this.drop(n,o)}>
            <span class="place figure">${o+1}</span><span class="name cut"><bdi>${i.name}</bdi></span>${i.present?h:a`<span class="missing">! not here</span>`}
          </div>`)}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen<1} @click=${()=>{this.move(this.chosen,this.chosen-1)}}>Up</button>
        <button class="small" ?disabled=${this.chosen<0||this.chosen>=this.entries.length-1} @click=${()=>{this.move(this.chosen,this.chosen+1)}}>Down</button>
        <button class="small" ?disabled=${this.chosen<0} @click=${()=>{this.takeOut()}}>Take out</button>
      </div>
    `}};W.styles=[v,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 8rem; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2.5rem minmax(0, 1fr) auto; align-items: center; min-height: 2.75rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; padding-right: 0.75rem; font-size: 0.8125rem; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],l([f()],W.prototype,"entries",2),l([f()],W.prototype,"problem",2),l([f()],W.prototype,"chosen",2),l([f()],W.prototype,"over",2),W=l([m("xp-list")],W);var Nt="xp-marks",yr=500,he=class extends b{constructor(){super(...arguments);this.marks=kr()}add(e){let t=this.deck.state;if(!t?.clip)return;let i=C(t)?t.take_frames:t.frame;this.keep([{clip:t.clip,frame:Math.max(0,i),timecode:e,note:""},...this.marks].slice(0,yr))}keep(e){this.marks=e,localStorage.setItem(Nt,JSON.stringify(e))}async go(e){this.deck.state?.clip!==e.clip&&!(await this.deck.run("clip",{name:e.clip})).done||await this.deck.run("cue",{where:String(e.frame)})}follows(){return[]}view(){return a`
      <div class="head"><button @click=${()=>this.dispatchEvent(new CustomEvent("xp-mark",{bubbles:!0,composed:!0}))}>Mark this frame</button><span class="dim">Kept in this browser</span></div>
      <div class="rows" tabindex="0" role="region" aria-label="Marks">
        ${this.marks.length===0?a`<p class="empty">No marks. Key M sets one at the frame that is shown.</p>`:""}
        ${this.marks.map((e,t)=>a`<div class="row">
            <button class="figure" title="Go there" @click=${()=>{this.go(e)}}>${e.timecode}</button>
            <input aria-label="Note at ${e.timecode}" placeholder="Note" .value=${e.note} @change=${i=>this.keep(this.marks.map((o,n)=>n===t?{...o,note:i.target.value}:o))} />
            <button class="small" aria-label="Take mark ${e.timecode} away" @click=${()=>this.keep(this.marks.filter((i,o)=>o!==t))}>✕</button>
            <span class="clip cut"><bdi>${e.clip}</bdi>, frame ${e.frame}</span>
          </div>`)}
      </div>
    `}};he.styles=[v,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr); gap: var(--gap); height: 100%; min-height: 0; }
      .head { display: flex; gap: 0.5rem; align-items: center; }
      .rows { overflow-y: auto; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.25rem 0; border-bottom: 1px solid var(--line); }
      .row input { width: 100%; }
      .clip { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],l([f()],he.prototype,"marks",2),he=l([m("xp-marks")],he);function kr(){try{let s=JSON.parse(localStorage.getItem(Nt)??"[]");return Array.isArray(s)?s:[]}catch{return[]}}var Ut=600,Ce=class extends b{updated(){let r=this.deck.state?.media??[];this.renderRoot.querySelectorAll(".bar i").forEach((e,t)=>e.style.setProperty("transform",`scaleX(${1-(r[t]?.percent_free??0)/100})`))}follows(){return[this.deck.state?.media,this.deck.state?.seconds_left]}view(){let r=this.deck.state,e=r?.media??[],t=r?.seconds_left??0,i=e.find(o=>o.state==="next");return a`
      <div class="sum"><span>Room in sum, at the rate of now</span><span class="figure ${t>0&&t<Ut?"warn":""}">${oe(t)}</span></div>
      ${e.map(o=>this.medium(o))}
      ${e.length===0?a`<p role="alert">No medium: nothing can be recorded.</p>`:h}
      <p class="dim">${i?a`When the active medium is full, a take goes on on <b>${i.label||i.path}</b>.`:"No medium comes next: a take ends when the active one is full."}</p>
    `}medium(r){let e=r.seconds_left>0&&r.seconds_left<Ut&&r.state!=="read_only";return a`<article class=${r.state}>
      <header><b><bdi>${r.label||r.path}</bdi></b><span>${x(r.state)}</span><span class="figure ${e?"warn":""}">${oe(r.seconds_left)}</span></header>
      <div class="bar ${e?"warn":""}" role="img" aria-label="${(100-r.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${Pe(r.bytes_free)} free of ${Pe(r.bytes_total)}</span><span>${r.clips} clips</span><span><bdi>${r.path}</bdi></span></div>
    </article>`}};Ce.styles=[v,p`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0.25rem 0 0.5rem; }
      .sum .figure { font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.75rem; display: grid; gap: 0.5rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `],Ce=l([m("xp-media")],Ce);var $r=1,xr=160,Ht=s=>[s,s,s],Er=(s,r,e)=>{let t=Math.floor(r*3/e),i=s*.3;return[t===0?s:i,t===1?s:i,t===2?s:s*.36]},_r={waveform:Ht,parade:Er,vectorscope:Ht},Ke={waveform:"Waveform, per cent",parade:"Parade: red, green, blue",vectorscope:"Vectorscope, boxes at 75 per cent"},Sr=[["R",1,0,0],["Yl",1,1,0],["G",0,1,0],["Cy",0,1,1],["B",0,0,1],["Mg",1,0,1]].map(([s,r,e,t])=>{let i=.2126*r+.7152*e+.0722*t,o=(n,d)=>(512+.75*896*(n-i)/d)/1024;return{name:s,x:o(t,1.8556),y:1-o(r,1.5748)}}),pe=class extends b{constructor(){super(...arguments);this.problem="";this.timer=0;this.looking=!1}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>{this.look()},xr)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}async look(){if(this.looking||document.hidden)return;this.looking=!0;let e=await D("GET","scopes");if(e instanceof $)this.problem=e.sentence;else if(e.status===200){let t=Ar(await e.arrayBuffer());if(this.problem=t?"":"The scopes cannot be read.",t)for(let i of Object.keys(Ke))this.paint(i,t[i])}this.looking=!1}paint(e,t){let i=this.renderRoot.querySelector(`#${e}`),o=i?.getContext("2d",{alpha:!1});if(!i||!o)return;(i.width!==t.columns||i.height!==t.rows)&&([i.width,i.height]=[t.columns,t.rows]);let n=o.createImageData(t.columns,t.rows),d=_r[e];for(let c=0;c<t.values.length;++c){let w=t.values[c];w&&n.data.set(d(w,c%t.columns,t.columns),4*c),n.data[4*c+3]=255}o.putImageData(n,0,0)}updated(){for(let e of this.renderRoot.querySelectorAll("canvas.grid"))this.grid(e)}grid(e){let t=Math.round(480*devicePixelRatio);if(e.width===t)return;e.width=e.height=t;let i=e.getContext("2d");if(!i)return;let o=t/480;if(i.strokeStyle=i.fillStyle="#8d959d",i.lineWidth=o,i.font=`${13*o}px sans-serif`,e.dataset.kind==="vectorscope"){i.globalAlpha=.6,i.beginPath(),i.arc(t/2,t/2,t*.4375,0,2*Math.PI),i.moveTo(t/2,t*.04),i.lineTo(t/2,t*.96),i.moveTo(t*.04,t/2),i.lineTo(t*.96,t/2),i.stroke(),i.globalAlpha=1;for(let n of Sr)i.strokeRect(n.x*t-9*o,n.y*t-9*o,18*o,18*o),i.fillText(n.name,n.x*t+12*o,n.y*t-10*o);return}for(let n of[0,25,50,75,100]){let d=(1-(64+8.76*n)/1024)*t;i.globalAlpha=n%100===0?.8:.35,i.fillRect(0,d,t,o),i.globalAlpha=1}}follows(){return[]}view(){return a`${Object.keys(Ke).map(e=>a`<figure><figcaption>${Ke[e]}</figcaption><div class="tile ${e==="vectorscope"?"square":""}"><canvas id=${e} width="512" height="256" role="img" aria-label=${Ke[e]}></canvas><canvas class="grid" data-kind=${e} aria-hidden="true"></canvas></div></figure>`)}${this.problem?a`<p role="alert">${this.problem}</p>`:h}`}};pe.styles=[v,p`
      :host { height: 100%; display: grid; grid-template: minmax(0, 1.1fr) minmax(0, 1fr) / minmax(0, 1fr) minmax(0, 1fr); gap: 0.5rem; }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; }
      figure:first-of-type { grid-column: 1 / -1; }
      figcaption { font-size: 0.75rem; color: var(--dim); }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .square canvas { object-fit: contain; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) { :host { grid-template: repeat(3, minmax(12rem, 1fr)) / minmax(0, 1fr); overflow-y: auto; } }
    `],l([f()],pe.prototype,"problem",2),pe=l([m("xp-scopes")],pe);function Ar(s){let r=new DataView(s);if(s.byteLength<16||r.getUint16(0,!0)!==$r)return null;let[e,t,i]=[2,4,6].map(d=>r.getUint16(d,!0));if(s.byteLength!==16+i*(e+3*t+i))return null;let o=16,n=d=>{let c=new Uint8Array(s,o,d*i);return o+=d*i,{columns:d,rows:i,values:c}};return{waveform:n(e),parade:n(3*t),vectorscope:n(i)}}var V=class extends b{constructor(){super(...arguments);this.target="";this.search="";this.changedOnly=!1;this.text=null}connectedCallback(){super.connectedCallback(),this.deck.readParameters()}get rows(){let e=this.search.trim().toLowerCase();return[...this.deck.parameters.values()].filter(t=>!t.told&&t.keep!=="command"&&(!this.changedOnly||t.value!==t.default)&&(!e||`${t.name} ${x(t.name)} ${t.help}`.toLowerCase().includes(e)))}updated(e){e.has("target")&&this.renderRoot.querySelector(".target")?.scrollIntoView({block:"center"})}async write(e,t){await this.deck.set(e.name,t),await this.deck.readParameters()}async apply(){for(let e of(this.text??"").split(`
`)){let t=/^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(e);if(!(!t||this.deck.parameters.get(t[1])?.value===t[2])&&!(await this.deck.set(t[1],t[2])).done)return}this.text=null,await this.deck.readParameters()}follows(){return[this.deck.parameters]}view(){let e=this.rows;return a`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${t=>this.search=t.target.value} />
        <label><input type="checkbox" .checked=${this.changedOnly} @change=${t=>this.changedOnly=t.target.checked} />changed</label>
      </div>
      ${this.text===null?a`<div class="rows" role="region" tabindex="0" aria-label="Settings">${e.map(t=>this.row(t))}${e.length?h:a`<p class="dim">No setting of this kind.</p>`}</div>`:a`<textarea aria-label="Settings as text" spellcheck="false" .value=${this.text} @input=${t=>this.text=t.target.value}></textarea>`}
      <div class="acts">
        ${this.text===null?a`<button class="small" @click=${()=>this.text=e.map(t=>`${t.name} = ${t.value}`).join(`
`)}>As text</button>`:a`<button class="small" @click=${()=>{this.apply()}}>Set all of these</button><button class="small" @click=${()=>this.text=null}>Leave</button>`}
      </div>
    `}row(e){let t=e.value!==e.default;return a`<div class="row ${e.name===this.target?"target":""}" id=${e.name}>
      <div class="name cut" title=${e.name}>${x(e.name)}${e.unit?a` <span class="dim">(${e.unit})</span>`:h}</div>
      ${this.field(e)}
      <div class="help">${e.help}
        ${t?a`<span class="differs">Differs from ${e.default||"empty"}<button @click=${()=>{this.write(e,e.default)}}>Back to it</button></span>`:h}
      </div>
    </div>`}field(e){let t=i=>{this.write(e,i.target.value)};return e.choices?.length?a`<select aria-label=${x(e.name)} .value=${e.value} @change=${t}>${e.choices.map(i=>a`<option value=${i} ?selected=${i===e.value}>${x(i)}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" aria-label=${x(e.name)} min=${e.minimum} max=${e.maximum??h} .value=${e.value} @change=${t} />`:a`<input type="text" aria-label=${x(e.name)} spellcheck="false" .value=${e.value} @change=${t} />`}};V.styles=[v,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; }
      label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.1rem 0.75rem; padding: 0.5rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); }
      .row .help { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .row select, .row input { width: 100%; }
      .differs { font-size: 0.75rem; color: var(--text); }
      .differs button { min-height: 1.5rem; padding: 0 0.4rem; font-size: 0.75rem; margin-left: 0.4rem; }
      textarea { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
    `],l([u()],V.prototype,"target",2),l([f()],V.prototype,"search",2),l([f()],V.prototype,"changedOnly",2),l([f()],V.prototype,"text",2),V=l([m("xp-settings")],V);var me=["clips","list","marks","media","scopes","settings","alarms","control"],J=class extends b{constructor(){super(...arguments);this.chosen="clips";this.detail="";this.moved=()=>{let[e,...t]=location.hash.replace(/^#\//,"").split("/");me.includes(e)&&(this.chosen=e,this.detail=decodeURIComponent(t.join("/")))}}connectedCallback(){super.connectedCallback(),addEventListener("hashchange",this.moved),this.addEventListener("xp-add",e=>{this.add(e.detail)}),this.addEventListener("xp-dragclips",()=>this.dragged()),this.moved()}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved)}go(e){location.hash=`#/${e}`}turn(e){this.go(me[(me.indexOf(this.chosen)+e+me.length)%me.length])}mark(e){this.go("marks"),this.chosen="marks",this.updateComplete.then(()=>this.marks?.add(e))}async add(e){this.go("list"),this.chosen="list",await this.updateComplete,await this.list?.read(),await this.list?.add(e)}dragged(){this.renderRoot.querySelector("#tab-list")?.addEventListener("dragenter",()=>this.go("list"),{once:!0})}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t),this.updateComplete.then(()=>this.renderRoot.querySelector('[aria-selected="true"]')?.focus()))}follows(){return[this.deck.state?.alarms]}view(){let e=this.deck.state?.alarms??0;return a`<div class="whole">
      <button class="close" @click=${()=>this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${me.map(t=>a`<button role="tab" id="tab-${t}" aria-controls="body" aria-selected=${t===this.chosen?"true":"false"} tabindex=${t===this.chosen?0:-1} class=${t==="alarms"&&e?"up":""} @click=${()=>this.go(t)}>
            ${t.charAt(0).toUpperCase()+t.slice(1)}${t==="alarms"&&e?a` <b>! ${e}</b>`:h}
          </button>`)}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`}body(){let{deck:e}=this;switch(this.chosen){case"clips":return a`<xp-clips .deck=${e}></xp-clips>`;case"list":return a`<xp-list .deck=${e}></xp-list>`;case"marks":return a`<xp-marks .deck=${e}></xp-marks>`;case"media":return a`<xp-media .deck=${e}></xp-media>`;case"scopes":return a`<xp-scopes .deck=${e}></xp-scopes>`;case"settings":return a`<xp-settings .deck=${e} target=${this.detail}></xp-settings>`;case"alarms":return a`<xp-alarms .deck=${e}></xp-alarms>`;case"control":return a`<xp-control .deck=${e}></xp-control>`}}};J.styles=[v,p`
      :host { background: var(--panel); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden; }
      .close { display: none; }
      @media (max-width: 759px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `],l([f()],J.prototype,"chosen",2),l([f()],J.prototype,"detail",2),l([_("xp-list")],J.prototype,"list",2),l([_("xp-marks")],J.prototype,"marks",2),J=l([m("xp-column")],J);var lt=60,We=4,q=class extends M{constructor(){super(...arguments);this.label="";this.unit="";this.value=null;this.warnAbove=1/0;this.past=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>this.sample(),1e3/We)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}sample(){this.past.push(this.deck.stale?null:this.value),this.past.length>lt*We&&this.past.shift(),this.draw()}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let t=window.devicePixelRatio,i=Math.round(this.clientWidth*t),o=Math.round(this.clientHeight*t);(this.canvas.width!==i||this.canvas.height!==o)&&([this.canvas.width,this.canvas.height]=[i,o]);let n=getComputedStyle(this);e.clearRect(0,0,i,o);let d=Number.isFinite(this.warnAbove)?this.warnAbove*1.25:1,c=Math.max(d,...this.past.map(g=>g??0)),w=i/(lt*We),y=lt*We-this.past.length;this.past.forEach((g,E)=>{if(g===null)return;let P=Math.max(t,g/c*(o-2*t));e.fillStyle=n.getPropertyValue(g>this.warnAbove?"--amber":"--edge"),e.globalAlpha=g>this.warnAbove?.75:.55,e.fillRect((y+E)*w,o-P,Math.ceil(w),P)}),e.globalAlpha=1}render(){let e=(this.value??0)>this.warnAbove,t=this.value===null?"-":this.value>=100||Number.isInteger(this.value)?this.value.toFixed(0):this.value.toFixed(1);return a`<canvas aria-hidden="true"></canvas>
      <div class="over ${e?"warn":""}"><div class="label">${this.label}</div><div class="figure">${e?"! ":""}${t} <small>${this.unit}</small></div></div>`}};q.styles=[v,p`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: 0.6875rem; color: var(--dim); }
    `],l([u()],q.prototype,"label",2),l([u()],q.prototype,"unit",2),l([u({attribute:!1})],q.prototype,"value",2),l([u({attribute:!1})],q.prototype,"warnAbove",2),l([u({attribute:!1})],q.prototype,"deck",2),l([_("canvas")],q.prototype,"canvas",2),q=l([m("xp-chart")],q);var ue=class extends b{constructor(){super(...arguments);this.delay=null}cell(e,t,i=!1,o=""){return a`<div class="cell ${i?"warn":""} ${o}"><div class="label">${e}</div><div class="figure">${i?"! ":h}${t}</div></div>`}view(){let{state:e,counters:t,frozen:i}=this.deck,o=!!e&&e.seconds_left>0&&e.seconds_left<600,n=(e?.dropped_capture??0)+(e?.dropped_playback??0),d=e?.owner?.name;return a`<div class="strip" role="group" aria-label="Health">
      ${i?this.cell("Lens to screen",`${(i/1e3).toFixed(1)} s ago`,!0):this.cell("Lens to screen",this.delay===null?"-":`${Math.round(this.delay)} ms`,(this.delay??0)>250)}
      ${this.cell("Room",e?oe(e.seconds_left):"-",o)}
      ${this.cell("Lost frames",n,n>0)}
      <xp-chart label="Writer queue" unit="frames" .value=${t.writer_queue??null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${t.write_latency_p99===void 0?null:t.write_latency_p99/1e3} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${e?n:null} .warnAbove=${.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control",d?a`<bdi>${d}</bdi>`:"everybody")}
    </div>`}};ue.styles=[v,p`
      :host { background: var(--panel); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 759px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `],l([u({attribute:!1})],ue.prototype,"delay",2),ue=l([m("xp-health")],ue);var Dt=[{keys:"R",verb:"record",text:""},{keys:"S",verb:"stop",text:"; in a take hold it for a second"},{keys:"L",verb:"play",text:"; again: twice as fast"},{keys:"J",verb:"play",text:", backwards; again: twice as fast"},{keys:"K",verb:"still",text:""},{keys:"K + L, K + J",verb:"play",text:", at a quarter of the speed"},{keys:"Space",verb:"still",text:", or play on"},{keys:"← →",verb:"step",text:": one"},{keys:"Shift ← →",verb:"step",text:": ten"},{keys:"Home, End",verb:"cue",text:": the first, the last"},{keys:"C",verb:"cue",text:": type where"},{keys:"[ ]",verb:"prev",text:", or to the next"},{keys:"M",verb:"",text:"mark the frame that is shown"},{keys:"F",verb:"",text:"picture and timecode alone, and back"},{keys:"?",verb:"",text:"this map"}],Mr=.25;function qt(s,r){let e=new Set,t=()=>s.state&&s.state.status!=="stopped"?s.state.speed:0,i=0,o=k=>{if(e.has("k"))return s.speed(k*Mr);let S=Math.sign(i)===k?i:t(),N=Math.sign(S)===k&&Math.abs(S)>=1?Math.min(64,Math.abs(S)*2):1;i=k*N,s.speed(i)},n=()=>{i=0,s.speed(0)},d=k=>{s.run("cue",{where:String(Math.max(0,k))})},c={r:()=>{s.run("record")},s:()=>r.holdStop(),l:()=>o(1),j:()=>o(-1),k:n," ":()=>C(s.state)?r.holdStop():t()!==0?n():o(1),arrowleft:k=>s.steps(k.shiftKey?-10:-1),arrowright:k=>s.steps(k.shiftKey?10:1),home:()=>d(0),end:()=>d((s.state?.length??1)-1),"[":()=>{s.run("prev")},"]":()=>{s.run("next")},c:()=>r.focusTimecode(),m:()=>r.mark(),f:()=>r.kiosk(),"?":()=>r.help()},w=new Set(["arrowleft","arrowright"]),y=k=>{let S=k.composedPath()[0];return S instanceof HTMLInputElement||S instanceof HTMLTextAreaElement||S instanceof HTMLSelectElement},g=k=>{if(k.ctrlKey||k.metaKey||k.altKey||y(k))return;let S=k.key.toLowerCase(),N=c[S];N&&(k.preventDefault(),!(k.repeat&&!w.has(S))&&(e.add(S),N(k)))},E=k=>{let S=k.key.toLowerCase();e.delete(S),(S==="s"||S===" ")&&r.releaseStop(),(S==="j"||S==="l")&&e.has("k")&&n()},P=()=>{e.clear(),r.releaseStop()};return window.addEventListener("keydown",g),window.addEventListener("keyup",E),window.addEventListener("blur",P),()=>{window.removeEventListener("keydown",g),window.removeEventListener("keyup",E),window.removeEventListener("blur",P)}}var It={http:"HTTP",line:"Line",osc:"OSC",shell:"Shell"},ae=class extends b{constructor(){super(...arguments);this.only=""}show(e){this.only=e,this.updateComplete.then(()=>this.dialog.open||this.dialog.showModal())}copy(e){let t=e.currentTarget,i=t.parentElement?.querySelector("code");if(!i)return;getSelection()?.selectAllChildren(i);let n=!1;navigator.clipboard?navigator.clipboard.writeText(i.textContent??"").catch(()=>{}):n=document.execCommand("copy"),t.textContent=navigator.clipboard||n?"Copied":"Selected"}follows(){return[this.deck.verbs]}view(){let e=this.only?this.deck.verbs.filter(t=>t.name===this.only):this.deck.verbs;return a`<dialog aria-label=${this.only?x(this.only):"Keys and verbs"} @keydown=${t=>t.stopPropagation()}>
      <header><h2>${this.only?`${x(this.only)}, from elsewhere`:"Keys and verbs"}</h2><button @click=${()=>this.dialog.close()}>Close</button></header>
      ${this.only?h:a`<dl>${Dt.filter(t=>!t.verb||this.deck.verb(t.verb)).map(t=>a`<dt>${t.keys}</dt><dd>${this.deck.verb(t.verb)?.help??""}${t.text}</dd>`)}</dl>`}
      ${e.map(t=>this.verb(t))}
    </dialog>`}verb(e){return a`<h3>${x(e.name)}</h3>
      <p>${e.help}</p>
      ${e.arguments.map(t=>a`<p class="dim">${x(t.name)}${t.unit?` (${t.unit})`:""}: ${t.help}</p>`)}
      ${Object.entries(e.forms).map(([t,i])=>a`<div class="form"><span class="dim">${It[t]??t}</span><code tabindex="0">${i}</code><button class="small" aria-label="Copy the ${It[t]??t} form of ${x(e.name)}" @click=${this.copy}>Copy</button></div>`)}`}};ae.styles=[v,p`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding-bottom: 0.5rem; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 1rem 0 0.25rem; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.15rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `],l([u()],ae.prototype,"only",2),l([_("dialog")],ae.prototype,"dialog",2),ae=l([m("xp-help")],ae);var Re=class extends b{view(){let r=this.deck.state,e=C(r);this.toggleAttribute("recording",e&&!this.deck.stale);let{stale:t}=this.deck;if(!r)return a`<div class="head"><span class="word">Connecting</span></div>`;if(!r.running)return a`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;let i=e?r.take_frames:r.frame,o=e?oe(r.seconds_left):K(r.length-1-r.frame,r.rate),n=r.status==="playing"&&r.speed===0,d=(c,w)=>a`<div><div class="label">${c}</div><div class="figure">${w}</div></div>`;return a`
      <div class="head">
        <span class="word" role="status">${this.word((t?"was ":"")+(n?"still":r.status))}</span>
        ${!e&&r.speed!==0&&r.status!=="stopped"?a`<span class="speed figure">${r.speed}×</span>`:h}
        <span class="format"><span class="dim">In</span> ${r.input_locked?r.input_format:"no signal"}<br /><span class="dim">Rec</span> ${x(r.record_codec)}</span>
      </div>
      ${r.record_inhibited&&!e?a`<div class="inhibited cut" title=${r.record_inhibited}>Cannot record: ${r.record_inhibited}</div>`:a`<div class="clip cut" title=${r.clip}>${r.clip||"no clip"}</div>`}
      <div class="fields">
        ${d(e?"Take":"Played",K(Math.max(0,i),r.rate))}
        ${d(e?"Room left":"To the end",o)}
        ${e?d("Safe on disk",K(r.recorded_up_to,r.rate)):d("Input timecode",r.input_timecode||"--:--:--:--")}
      </div>
    `}word(r){let e=x(r);return e.charAt(0).toUpperCase()+e.slice(1)}};Re.styles=[v,p`
      :host { background: var(--panel); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: max(2rem, 2.6vw); line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: 0.8125rem; min-width: 0; }
      .clip { font-size: 1rem; align-self: center; color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .figure { font-size: 1.0625rem; color: var(--bright); line-height: 1.1; }
      .inhibited { color: var(--amber); font-size: 0.8125rem; }
      :host([big]) .word { font-size: 3.4vw; }
      :host([big]) .clip { font-size: 1.6vw; }
      :host([big]) .fields .figure { font-size: 1.6vw; }
      :host([big]) .label, :host([big]) .format { font-size: 1.1vw; }
      @media (max-width: 759px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `],Re=l([m("xp-state")],Re);var Le=24,Pr=60,ge=class extends b{constructor(){super(...arguments);this.disabled=!1;this.angle=0;this.grip=null;this.rest=0}turn(e){if(this.disabled)return;this.angle+=e,this.renderRoot.querySelector("#wheel")?.setAttribute("transform",`rotate(${this.angle*360} 60 60)`),this.rest+=e*Le;let t=Math.trunc(this.rest);t!==0&&(this.rest-=t,this.deck.steps(t))}at(e){let t=e.currentTarget.getBoundingClientRect();return Math.atan2(e.clientY-t.top-t.height/2,e.clientX-t.left-t.width/2)/(2*Math.PI)}down(e){e.currentTarget.setPointerCapture(e.pointerId),this.grip=this.at(e)}move(e){if(this.grip===null)return;let t=this.at(e),i=t-this.grip;i-=Math.round(i),this.grip=t,this.turn(i)}wheel(e){e.preventDefault();let t=e.deltaMode===WheelEvent.DOM_DELTA_LINE?20:1;this.turn(e.deltaY*t/Pr/Le)}keydown(e){let t={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t*(e.shiftKey?10:1)/Le))}view(){let e=Array.from({length:Le},(t,i)=>i);return a`<svg viewBox="0 0 120 120" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame??0} aria-valuemin="0"
      aria-valuemax=${Math.max(0,(this.deck.state?.length??1)-1)} aria-disabled=${this.disabled?"true":"false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${()=>this.grip=null} @pointercancel=${()=>this.grip=null} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${e.map(t=>this.mark(t))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`}mark(e){let t=e/Le*2*Math.PI-Math.PI/2,[i,o]=[Math.cos(t),Math.sin(t)];return Tr(60+i*50,60+o*50,60+i*55.5,60+o*55.5,e%6===0?"mark big":"mark")}};ge.styles=[v,p`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `],l([u({type:Boolean})],ge.prototype,"disabled",2),ge=l([m("xp-jog")],ge);var Tr=(s,r,e,t,i)=>L`<line class=${i} x1=${s} y1=${r} x2=${e} y2=${t} />`;var Cr={record:L`<circle cx="12" cy="12" r="7"/>`,stop:L`<rect x="5.5" y="5.5" width="13" height="13"/>`,play:L`<path d="M7 4.5v15L20 12z"/>`,reverse:L`<path d="M17 4.5v15L4 12z"/>`,still:L`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,forward:L`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,rewind:L`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,next:L`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,prev:L`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,step:L`<path d="M9 6v12l8-6z"/>`,back:L`<path d="M15 6v12l-8-6z"/>`},jt=s=>a`<svg viewBox="0 0 24 24" aria-hidden="true">${Cr[s]}</svg>`;var Rr=1e3,Ve=class extends Event{constructor(e){super("xp-forms",{bubbles:!0,composed:!0});this.verb=e}},T=class extends M{constructor(){super(...arguments);this.verb="";this.label="";this.icon="";this.hint="";this.lit=!1;this.red=!1;this.pending=!1;this.hold=!1;this.disabled=!1;this.toggle=!1;this.held=0;this.since=0}focus(){this.renderRoot.querySelector("button")?.focus()}press(){this.dispatchEvent(new Event("press",{bubbles:!0,composed:!0}))}begin(){if(this.disabled||this.since)return;if(!this.hold)return this.press();this.since=performance.now();let e=()=>{if(this.since){if(this.held=Math.min(1,(performance.now()-this.since)/Rr),this.held<1)return void requestAnimationFrame(e);this.since=0,this.held=0,this.press()}};requestAnimationFrame(e)}end(){this.since&&(this.since=0,this.held=0,this.dispatchEvent(new Event("toobrief",{bubbles:!0,composed:!0})))}down(e){e.button===0&&(this.hold&&e.target.setPointerCapture?.(e.pointerId),this.begin())}keydown(e){e.key==="?"&&(e.preventDefault(),e.stopPropagation(),this.dispatchEvent(new Ve(this.verb))),!(e.key!=="Enter"&&e.key!==" ")&&(e.preventDefault(),e.stopPropagation(),e.repeat||this.begin())}updated(){this.renderRoot.querySelector("i")?.style.setProperty("transform",`scaleX(${this.held})`)}render(){return a`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle?this.lit?"true":"false":h}
      aria-label=${this.hint||this.label}
      aria-busy=${this.pending?"true":"false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${e=>(e.key==="Enter"||e.key===" ")&&this.end()}
      @blur=${this.end}
      @click=${e=>e.detail===0&&!e.isTrusted&&this.begin()}
      @contextmenu=${e=>{e.preventDefault(),this.since||this.dispatchEvent(new Ve(this.verb))}}
    >
      ${this.icon?jt(this.icon):h}<span>${this.label}</span>${this.held>0?a`<i></i>`:h}
    </button>`}};T.styles=[v,p`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: transparent; border-top-color: var(--lifted); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `],l([u()],T.prototype,"verb",2),l([u()],T.prototype,"label",2),l([u()],T.prototype,"icon",2),l([u()],T.prototype,"hint",2),l([u({type:Boolean,reflect:!0})],T.prototype,"lit",2),l([u({type:Boolean,reflect:!0})],T.prototype,"red",2),l([u({type:Boolean,reflect:!0})],T.prototype,"pending",2),l([u({type:Boolean})],T.prototype,"hold",2),l([u({type:Boolean})],T.prototype,"disabled",2),l([u({type:Boolean})],T.prototype,"toggle",2),l([f()],T.prototype,"held",2),T=l([m("xp-key")],T);var ze=class extends b{get frames(){return Math.max(1,this.deck.state?.length??1)}go(r){let e=r.currentTarget.getBoundingClientRect(),t=Math.min(1,Math.max(0,(r.clientX-e.left)/e.width));this.cue(Math.round(t*(this.frames-1)))}cue(r){let e=this.deck.state;!e?.running||C(e)||this.deck.run("cue",{where:String(Math.min(this.frames-1,Math.max(0,r)))})}keydown(r){let e={PageUp:.1,PageDown:-.1}[r.key];e!==void 0&&(r.preventDefault(),this.cue((this.deck.state?.frame??0)+Math.round(e*this.frames)))}updated(){let r=this.deck.state,e=r&&!C(r)?Math.min(1,Math.max(0,r.frame)/Math.max(1,this.frames-1)):0;this.renderRoot.querySelector(".done")?.style.setProperty("transform",`scaleX(${e})`),this.renderRoot.querySelector(".head")?.style.setProperty("left",`${e*100}%`)}view(){let r=this.deck.state,e=C(r),t=Math.max(0,r?.frame??0);return a`<div
      class="bar" role="slider" tabindex="0" aria-label="Position in the clip" aria-valuemin="0" aria-valuemax=${this.frames-1} aria-valuenow=${e?0:Math.min(t,this.frames-1)}
      aria-valuetext=${e?"recording":`frame ${t} of ${this.frames}`} aria-disabled=${e?"true":"false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done"></div>
      <div class="head" ?hidden=${e}></div>
      <div class="text"><span>${e?"A take runs":`Frame ${t}`}</span><span>${e?"":K(this.frames,r?.rate??25)}</span></div>
    </div>`}};ze.styles=[v,p`
      :host { height: 1.5rem; }
      .bar { position: relative; height: 100%; background: var(--panel); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
      .text { position: absolute; inset: 0 0.6rem; display: flex; justify-content: space-between; align-items: center; font-size: 0.75rem; pointer-events: none; color: var(--dim); }
    `],ze=l([m("xp-position")],ze);var dt=[0,.1,.25,.5,1,2,4,8,16,32],X=class extends b{constructor(){super(...arguments);this.disabled=!1;this.pulled=0;this.speed=0}pull(e){if(this.disabled)return;this.pulled=Math.min(1,Math.max(-1,e));let t=Math.sign(this.pulled)*dt[Math.round(Math.abs(this.pulled)*(dt.length-1))];t!==this.speed&&(this.speed=t,this.deck.speed(t))}move(e){let t=e.currentTarget;if(e.type==="pointerdown"&&t.setPointerCapture(e.pointerId),!t.hasPointerCapture(e.pointerId))return;let i=t.getBoundingClientRect();this.pull((e.clientX-i.left)/i.width*2-1)}let(){this.pulled!==0&&(this.pulled=0,this.speed=0,this.deck.speed(0))}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.pull(this.pulled+t/(dt.length-1)))}updated(){this.renderRoot.querySelector(".knob")?.style.setProperty("left",`calc(50% + ${this.pulled} * (50% - 1.25rem))`)}view(){return a`<div class="track" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed===0?"still":`${this.speed} times`} aria-disabled=${this.disabled?"true":"false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`}};X.styles=[v,p`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `],l([u({type:Boolean})],X.prototype,"disabled",2),l([f()],X.prototype,"pulled",2),l([f()],X.prototype,"speed",2),X=l([m("xp-shuttle")],X);var ct=s=>s!=="stopped"&&s!=="recording",Lr=[{verb:"record",label:"Record",icon:"record",wide:!0,lit:s=>s==="recording"},{verb:"stop",label:"Stop",icon:"stop",wide:!0,lit:s=>s==="stopped"},{verb:"play",label:"Reverse",icon:"reverse",values:{speed:-1},lit:(s,r)=>ct(s)&&r<0},{verb:"still",label:"Still",icon:"still",lit:(s,r)=>ct(s)&&r===0},{verb:"play",label:"Play",icon:"play",wide:!0,values:{speed:1},lit:(s,r)=>ct(s)&&r>0},{verb:"prev",label:"Previous",icon:"prev"},{verb:"next",label:"Next",icon:"next"}],zr=[-10,-1,1,10],fe=class extends b{focusTimecode(){this.where.focus(),this.where.select()}follows(){let{state:r}=this.deck;return[r?.running,r?.status,r?.speed,this.deck.stale,this.deck.pending,this.deck.verbs]}view(){let r=this.deck.state,e=C(r),t=!r?.running||this.deck.stale;return a`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${Lr.map((i,o)=>this.key(i,e,t,o===4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${zr.map(i=>a`<xp-key verb="step" label=${i>0?`+${i}`:`−${-i}`} hint=${`${Math.abs(i)} frame${Math.abs(i)>1?"s":""} ${i>0?"on":"back"}`}
              ?disabled=${t} @press=${()=>this.deck.steps(i)}></xp-key>`)}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${t}></xp-shuttle>
        <form @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${t} title=${this.deck.verb("cue")?.help??h}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${t}></xp-jog>
    `}key(r,e,t,i){let o=this.deck.verb(r.verb);if(this.deck.verbs.length&&!o)return h;let n=this.deck.state,d=!t&&!!n&&!!r.lit?.(n.status,n.speed);return a`<xp-key
      class="${r.wide?"wide":""} ${i?"third":""}"
      verb=${r.verb}
      label=${r.verb==="stop"&&e?"Hold to stop":r.label}
      hint=${`${r.label}: ${o?.help??""}`}
      icon=${r.icon}
      ?red=${r.verb==="record"}
      ?lit=${d}
      ?toggle=${!!r.lit}
      ?pending=${this.deck.pending.has(r.verb)}
      ?hold=${r.verb==="stop"&&e}
      ?disabled=${t}
      @press=${()=>{this.deck.run(r.verb,r.values)}}
      @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}
    ></xp-key>`}cue(r){r.preventDefault();let e=Or(this.where.value);e&&(this.where.blur(),this.deck.run("cue",{where:e}).then(t=>t.done||this.where.focus()))}};fe.styles=[v,p`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 759px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `],l([_("#where")],fe.prototype,"where",2),fe=l([m("xp-transport")],fe);function Or(s){let r=s.trim();return r.startsWith("#")?r.slice(1).trim():/^\d{1,8}$/.test(r)?r.padStart(8,"0").replace(/^(..)(..)(..)(..)$/,"$1:$2:$3:$4"):r.replaceAll(".",":")}var R=class extends M{constructor(){super(...arguments);this.deck=new Fe;this.age=zt();this.kiosk=location.hash.startsWith("#/kiosk");this.delay=null;this.open=!1;this.more=!1;this.end=()=>{};this.spoken=0;this.moved=()=>{this.kiosk=location.hash.startsWith("#/kiosk")}}connectedCallback(){super.connectedCallback(),this.deck.subscribe(()=>this.requestUpdate()),this.deck.start(),addEventListener("hashchange",this.moved),this.addEventListener("xp-forms",e=>this.help.show(e.verb)),this.addEventListener("xp-mark",()=>this.column.mark(this.timecode.value)),this.end=qt(this.deck,{holdStop:()=>this.stopKey?.begin(),releaseStop:()=>this.stopKey?.end(),focusTimecode:()=>this.transport.focusTimecode(),mark:()=>this.column.mark(this.timecode.value),kiosk:()=>location.hash=this.kiosk?"#/clips":"#/kiosk",help:()=>this.help.show(""),tab:e=>this.column.turn(e)})}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved),this.end()}get stopKey(){return this.transport.renderRoot.querySelector('xp-key[verb="stop"]')}firstUpdated(){this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>this.painted(e))}painted(e){let{frame:t}=e;if(this.deck.pictureSeen(),this.timecode.value=t.timecode,this.meter.show(t.meters),t.loudness&&this.spoken++%4===0&&this.tellLoudness(t.loudness),this.deck.clockOffset===null||!t.captured||t.isRepeat)return;let i=this.age.add(performance.now()+this.deck.clockOffset-t.captured);i!==null&&(this.delay=i)}tellLoudness(e){["#momentary","#short"].forEach((t,i)=>{let o=this.renderRoot.querySelector(t);o&&(o.textContent=e[i]<=-70?"-":e[i].toFixed(1).replace("-","−"))})}updated(){this.toggleAttribute("kiosk",this.kiosk),document.title=this.pageTitle()}pageTitle(){let{state:e,stale:t}=this.deck;return t||!e?"! Recorder":C(e)?`● Recording ${e.clip}`:`Recorder: ${e.status.replaceAll("_"," ")}`}banner(e){let{deck:t}=this,i=(t.frozen/1e3).toFixed(1),o="";return t.stale?o=`No link to the recorder for ${i} s. Nothing here is live.`:e?o="The recorder is not running.":t.frozen?o=`No pictures for ${i} s. Picture, timecode and meters are not live.`:t.state?.store_problem&&(o=`The store cannot be reached: ${t.state.store_problem}`),o?a`<div class="banner" role="alert">${o}</div>`:h}render(){let{deck:e}=this,t=C(e.state)&&!e.stale,i=e.state?.running===!1;return a`
      <h1 class="hidden">Recorder</h1>
      <div class="time"><xp-timecode ?recording=${t} .age=${i?Number.EPSILON:e.frozen}></xp-timecode></div>
      <xp-state .deck=${e} ?big=${this.kiosk}></xp-state>
      <div class="view">
        <div class="frame ${t?"recording":""}">
          <xp-picture id="picture" ?stale=${e.frozen>0||i}></xp-picture>
          ${this.banner(i)} ${e.me.role==="nobody"?a`<div class="login"><xp-login .deck=${e}></xp-login></div>`:h}
        </div>
        <div class="sound">
        <xp-meter ?stale=${e.frozen>0||i} ?flat=${matchMedia("(max-width: 759px)").matches}></xp-meter>
        <div class="loudness" title="Loudness in LUFS: of the last 400 ms, of the last three seconds"><span class="label">LUFS</span><span id="momentary" class="figure">-</span><span id="short" class="figure">-</span></div>
        </div>
      </div>
      <xp-transport .deck=${e} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more?"true":"false"} @click=${()=>this.more=!this.more}>Jog, shuttle, cue</button>
        <button @click=${()=>this.open=!0}>Clips, settings…${e.state?.alarms?a` <b>! ${e.state.alarms}</b>`:h}</button>
      </div>
      <xp-column class=${this.open?"open":""} .deck=${e} @xp-close=${()=>this.open=!1}></xp-column>
      <xp-health .deck=${e} .delay=${this.delay}></xp-health>
      <xp-help .deck=${e}></xp-help>
      ${e.notice?a`<div class="notice" role="alert"><span><b>${e.notice.title}</b>. ${e.notice.text}</span><button class="small" @click=${()=>e.tell(null)}>Close</button></div>`:h}
    `}};R.styles=[v,p`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) 31rem; grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 20rem); justify-content: center; gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      .login { position: absolute; inset: 0; display: grid; place-content: center; background: var(--panel); padding: 1rem; }
      .sound { display: grid; grid-template-rows: minmax(0, 1fr) auto; background: var(--panel); border-radius: var(--round); min-width: 0; }
      xp-meter { margin: 0.4rem; }
      .loudness { display: grid; grid-template-columns: auto 1fr 1fr; gap: 0.4rem; align-items: baseline; padding: 0 0.6rem 0.4rem; font-size: 0.8125rem; text-align: right; color: var(--bright); white-space: nowrap; }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { grid-area: column; align-self: end; margin: 0.75rem; background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; justify-content: space-between; z-index: 4; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) 3.25rem; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) .notice { grid-area: view; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10vw; }

      @media (max-width: 759px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16.4vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { width: auto; height: auto; max-height: none; aspect-ratio: 16 / 9; }
        xp-meter { height: 5rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        .notice { position: fixed; inset: auto 0.5rem 0.5rem; margin: 0; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-areas: "state" "time" "view" "health"; }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `],l([f()],R.prototype,"kiosk",2),l([f()],R.prototype,"delay",2),l([f()],R.prototype,"open",2),l([f()],R.prototype,"more",2),l([_("xp-timecode")],R.prototype,"timecode",2),l([_("xp-meter")],R.prototype,"meter",2),l([_("xp-picture")],R.prototype,"picture",2),l([_("xp-column")],R.prototype,"column",2),l([_("xp-help")],R.prototype,"help",2),l([_("xp-transport")],R.prototype,"transport",2),R=l([m("xp-panel")],R);
